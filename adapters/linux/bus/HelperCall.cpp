// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/HelperCall.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace wicket::linux_adapter {
namespace {

using Arguments = std::vector<Argument>;
using Block = std::shared_ptr<ReplyBlock>;

HelperProtocol::CodeCompletion codeCompletion(const Block& block) {
  return [block](ReplyCode code) {
    if (block) block->call(code);
  };
}

const std::string& text(const Arguments& arguments, std::size_t index) {
  return std::get<std::string>(arguments.at(index));
}

void getVersion(HelperProtocol& object, const Arguments& /*arguments*/, const Block& block) {
  object.getVersion([block](const std::string& version) {
    if (block) block->call(version);
  });
}

void runCommand(HelperProtocol& object, const Arguments& arguments, const Block& block) {
  object.runCommand(text(arguments, 0), std::get<std::vector<std::string>>(arguments.at(1)), codeCompletion(block));
}

void installScript(HelperProtocol& object, const Arguments& arguments, const Block& block) {
  object.installScript(text(arguments, 0), std::get<HelperProtocol::AuthorizationData>(arguments.at(1)),
                       codeCompletion(block));
}

void uninstall(HelperProtocol& object, const Arguments& arguments, const Block& block) {
  object.uninstall(std::get<bool>(arguments.at(0)));
  if (block) block->call(std::monostate{});
}

void uninstallScriptAt(HelperProtocol& object, const Arguments& arguments, const Block& block) {
  object.uninstallScriptAt(text(arguments, 0), codeCompletion(block));
}

void uninstallScriptWithFilename(HelperProtocol& object, const Arguments& arguments, const Block& block) {
  object.uninstallScriptWithFilename(text(arguments, 0), codeCompletion(block));
}

struct Operation {
  Selector selector;
  void (*perform)(HelperProtocol&, const Arguments&, const Block&);
  const wire::UserLimit* limit = nullptr;
};

constexpr std::array operations{
    Operation{helper_protocol::getVersion, &getVersion},
    Operation{helper_protocol::runCommand, &runCommand, &wire::runningScripts},
    Operation{helper_protocol::installScript, &installScript, &wire::openQuestions},
    Operation{helper_protocol::uninstall, &uninstall},
    Operation{helper_protocol::uninstallScriptAt, &uninstallScriptAt},
    Operation{helper_protocol::uninstallScriptWithFilename, &uninstallScriptWithFilename},
};

std::size_t sizeOf(const Argument& argument) {
  if (const auto* string = std::get_if<std::string>(&argument)) return string->size();
  if (const auto* data = std::get_if<HelperProtocol::AuthorizationData>(&argument)) return *data ? (*data)->size() : 0;
  const auto* strings = std::get_if<std::vector<std::string>>(&argument);
  if (strings == nullptr) return 0;
  return std::accumulate(strings->begin(), strings->end(), std::size_t{0},
                         [](std::size_t sum, const std::string& one) { return sum + sizeof one + one.size(); });
}

}  // namespace

ReplyBlock::ReplyBlock(std::weak_ptr<OutgoingSink> client, RequestId request)
    : client_(std::move(client)), request_(request) {}

ReplyBlock::~ReplyBlock() {
  if (!wasCalled_) send(MissingReply{request_});
}

void ReplyBlock::call(ReplyValue value) {
  if (!wasCalled_.exchange(true)) {
    send(MethodReply{request_, std::move(value)});
  } else if (const auto* code = std::get_if<ReplyCode>(&value)) {
    send(CalledAgain{request_, *code});
  }
}

void ReplyBlock::refuse(const wire::UserLimit& limit) {
  if (!wasCalled_.exchange(true)) send(LimitReached{request_, &limit});
}

void ReplyBlock::send(Outgoing item) const {
  if (const auto client = client_.lock()) client->send(std::move(item));
}

std::size_t HelperCall::size() const {
  return std::accumulate(arguments.begin(), arguments.end(), std::size_t{0},
                         [](std::size_t sum, const Argument& one) { return sum + sizeof one + sizeOf(one); });
}

const wire::UserLimit* HelperCall::limit() const {
  const auto* const operation = std::ranges::find(operations, selector, &Operation::selector);
  return operation == operations.end() ? nullptr : operation->limit;
}

void HelperCall::perform(HelperProtocol& object, const std::shared_ptr<ReplyBlock>& block) const {
  const auto* const operation = std::ranges::find(operations, selector, &Operation::selector);
  if (operation != operations.end()) operation->perform(object, arguments, block);
}

}  // namespace wicket::linux_adapter
