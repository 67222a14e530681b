// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "tests/support/PolkitAgent.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

#include "base/system/linux/ProcessFiles.h"

namespace wicket::support {
namespace {

constexpr char service[] = "org.freedesktop.PolicyKit1";
constexpr char authority[] = "/org/freedesktop/PolicyKit1/Authority";
constexpr char authorityInterface[] = "org.freedesktop.PolicyKit1.Authority";
constexpr char agentObject[] = "/org/freedesktop/PolicyKit1/AuthenticationAgent";
constexpr char agentInterface[] = "org.freedesktop.PolicyKit1.AuthenticationAgent";

uid_t userOf(pid_t process) {
  struct stat folder{};
  return ::stat(("/proc/" + std::to_string(process)).c_str(), &folder) == 0 ? folder.st_uid : static_cast<uid_t>(-1);
}

/// This thread alone; the library's function changes all of them.
bool actAs(uid_t user) { return ::syscall(SYS_setresuid, -1, user, -1) == 0; }

/// To the bus a connection belongs for ever to the user who made it.
int connectAs(uid_t user, sd_bus** bus) {
  const uid_t before = ::geteuid();
  if (!actAs(user)) return -errno;
  const int result = sd_bus_open_system(bus);
  return actAs(before) ? result : -errno;
}

}  // namespace

const sd_bus_vtable PolkitAgent::methods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("BeginAuthentication", "sssa{ss}sa(sa{sv})", "", &PolkitAgent::onBeginAuthentication,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("CancelAuthentication", "s", "", &PolkitAgent::onCancelAuthentication, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END};

std::unique_ptr<PolkitAgent> PolkitAgent::start(pid_t process, Behaviour behaviour) {
  std::unique_ptr<PolkitAgent> agent(new PolkitAgent(behaviour));
  if (!agent->registerFor(process)) return nullptr;
  agent->thread_ = std::thread(&PolkitAgent::serve, agent.get());
  return agent;
}

void PolkitAgent::hold() {
  const std::scoped_lock lock(mutex_);
  isHeld_ = true;
}

void PolkitAgent::release() {
  const std::scoped_lock lock(mutex_);
  isHeld_ = false;
}

void PolkitAgent::decide(std::size_t dialog, Behaviour behaviour) {
  const std::scoped_lock lock(mutex_);
  questions_.at(dialog).decision = behaviour;
}

std::vector<PolkitAgent::Dialog> PolkitAgent::dialogs() const {
  const std::scoped_lock lock(mutex_);
  std::vector<Dialog> all;
  for (const auto& question : questions_) all.push_back(question.dialog);
  return all;
}

std::string PolkitAgent::message() const {
  const std::scoped_lock lock(mutex_);
  return questions_.empty() ? std::string() : questions_.back().dialog.message;
}

PolkitAgent::~PolkitAgent() {
  stopping_ = true;
  if (thread_.joinable()) thread_.join();
  questions_.clear();
  sd_bus_flush_close_unref(bus_);
}

bool PolkitAgent::registerFor(pid_t process) {
  user_ = userOf(process);
  return connectAs(user_, &bus_) >= 0 &&
         sd_bus_add_object_vtable(bus_, nullptr, agentObject, agentInterface, methods, this) >= 0 &&
         sd_bus_call_method(bus_, service, authority, authorityInterface, "RegisterAuthenticationAgent", nullptr,
                            nullptr, "(sa{sv})ss", "unix-process", 2, "pid", "u", static_cast<std::uint32_t>(process),
                            "start-time", "t", linux_adapter::ProcessFiles(process).startTime().value_or(0), "C",
                            agentObject) >= 0;
}

void PolkitAgent::serve() {
  constexpr std::uint64_t pollInterval = 20'000;
  while (!stopping_) {
    const int result = sd_bus_process(bus_, nullptr);
    if (result < 0) return;
    if (result > 0 || answerNext()) continue;
    if (sd_bus_wait(bus_, pollInterval) < 0) return;
  }
}

int PolkitAgent::onBeginAuthentication(sd_bus_message* call, void* agent, sd_bus_error* /*error*/) {
  return static_cast<PolkitAgent*>(agent)->open(call);
}

int PolkitAgent::onCancelAuthentication(sd_bus_message* notice, void* agent, sd_bus_error* /*error*/) {
  return static_cast<PolkitAgent*>(agent)->cancel(notice);
}

int PolkitAgent::open(sd_bus_message* call) {
  const char* action = nullptr;
  const char* message = nullptr;
  const char* icon = nullptr;
  const char* cookie = nullptr;
  if (sd_bus_message_read(call, "sss", &action, &message, &icon) < 0 || sd_bus_message_skip(call, "a{ss}") < 0 ||
      sd_bus_message_read(call, "s", &cookie) < 0) {
    return -EBADMSG;
  }
  Question question;
  question.dialog.message = message;
  question.cookie = cookie;
  question.call.reset(sd_bus_message_ref(call));
  const std::scoped_lock lock(mutex_);
  questions_.push_back(std::move(question));
  return 1;
}

int PolkitAgent::cancel(sd_bus_message* notice) {
  const char* cookie = nullptr;
  if (sd_bus_message_read(notice, "s", &cookie) < 0) return -EBADMSG;
  const std::scoped_lock lock(mutex_);
  for (auto& question : questions_) {
    if (question.cookie != cookie) continue;
    question.dialog.isCanceled = true;
    question.call.reset();
  }
  return sd_bus_reply_method_return(notice, "");
}

/// Whether there was one to answer.
bool PolkitAgent::answerNext() {
  linux_adapter::SdHandle<sd_bus_message> call;
  std::string cookie;
  Behaviour behaviour{};
  {
    const std::scoped_lock lock(mutex_);
    const auto next = std::ranges::find_if(
        questions_, [this](const Question& question) { return question.call && (question.decision || !isHeld_); });
    if (next == questions_.end()) return false;
    call = std::move(next->call);
    cookie = next->cookie;
    behaviour = next->decision.value_or(behaviour_);
  }
  answer(call.get(), cookie, behaviour);
  return true;
}

void PolkitAgent::answer(sd_bus_message* call, const std::string& cookie, Behaviour behaviour) {
  if (behaviour == Behaviour::dismisses) {
    sd_bus_reply_method_errorf(call, "org.freedesktop.PolicyKit1.Error.Cancelled", "The user closed the dialog");
    return;
  }
  const int confirmed = behaviour == Behaviour::authenticates ? confirm(cookie) : 0;
  if (confirmed < 0) {
    sd_bus_reply_method_errno(call, confirmed, nullptr);
  } else {
    sd_bus_reply_method_return(call, "");
  }
}

// As agents do it: by a program of root's that has seen the password, in the name of the agent's user.
int PolkitAgent::confirm(const std::string& cookie) {
  sd_bus* roots = nullptr;
  int result = sd_bus_open_system(&roots);
  if (result >= 0) {
    result = sd_bus_call_method(roots, service, authority, authorityInterface, "AuthenticationAgentResponse2", nullptr,
                                nullptr, "us(sa{sv})", user_, cookie.c_str(), "unix-user", 1, "uid", "u", 0U);
  }
  sd_bus_flush_close_unref(roots);
  return result;
}

}  // namespace wicket::support
