// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/authorization/PolkitConversation.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <utility>

namespace wicket::linux_adapter {
namespace {

constexpr char systemBus[] = "unix:path=/run/dbus/system_bus_socket";

/// It only wakes the loop, which then looks for what is new.
int onBell(sd_event_source* /*source*/, int descriptor, std::uint32_t /*events*/, void* /*none*/) {
  eventfd_t count = 0;
  eventfd_read(descriptor, &count);
  return 0;
}

}  // namespace

std::expected<std::shared_ptr<PolkitConversation>, AuthorizationStatus> PolkitConversation::begin() {
  std::shared_ptr<PolkitConversation> made(new PolkitConversation());
  // The connection first: where there is no bus, nothing else is worth the while.
  if (!made->connect() || !made->prepareLoop() || !made->startThread()) {
    return std::unexpected(authorization_status::internal);
  }
  return made;
}

PolkitConversation::~PolkitConversation() {
  if (!thread_.joinable()) return;
  {
    const std::scoped_lock lock(mutex_);
    isOver_ = true;
  }
  eventfd_write(bell_.get(), 1);
  thread_.join();
}

AuthorizationStatus PolkitConversation::ask(PolkitTerms terms) {
  const auto question = std::make_shared<PolkitQuestion>(std::move(terms));
  {
    const std::scoped_lock lock(mutex_);
    if (isOver_) return authorization_status::internal;
    arrivals_.push_back(question);
  }
  eventfd_write(bell_.get(), 1);
  return question->await();
}

bool PolkitConversation::isOver() const {
  const std::scoped_lock lock(mutex_);
  return isOver_;
}

// The address is fixed: no variable of the environment leads to another authority.
bool PolkitConversation::connect() {
  sd_bus* made = nullptr;
  if (sd_bus_new(&made) < 0) return false;
  bus_.reset(made);
  return sd_bus_set_description(made, "polkit") >= 0 && sd_bus_set_address(made, systemBus) >= 0 &&
         sd_bus_set_bus_client(made, 1) >= 0 && sd_bus_negotiate_fds(made, 1) >= 0 && sd_bus_start(made) >= 0;
}

bool PolkitConversation::prepareLoop() {
  bell_.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  sd_event* event = nullptr;
  if (!bell_.isOpen() || sd_event_new(&event) < 0) return false;
  event_.reset(event);
  sd_event_source* source = nullptr;
  if (sd_event_add_io(event, &source, bell_.get(), EPOLLIN, &onBell, nullptr) < 0) return false;
  bellSource_.reset(source);
  return sd_bus_attach_event(bus_.get(), event, SD_EVENT_PRIORITY_NORMAL) >= 0;
}

bool PolkitConversation::startThread() {
  try {
    thread_ = std::thread(&PolkitConversation::run, this);
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

// Lists are only joined here, which takes no memory: so nothing is thrown.
void PolkitConversation::run() noexcept {
  while (sd_event_run(event_.get(), UINT64_MAX) >= 0 && goesOn()) {
    watchArrivals();
    tellAnswers();
    askWaiting();
  }
  answerAll();
}

bool PolkitConversation::goesOn() const { return !isOver() && sd_bus_is_open(bus_.get()) > 0; }

void PolkitConversation::watchArrivals() {
  Questions arrived;
  {
    const std::scoped_lock lock(mutex_);
    arrived.swap(arrivals_);
  }
  for (const auto& question : arrived) question->watch(event_.get());
  waiting_.splice(waiting_.end(), arrived);
}

void PolkitConversation::tellAnswers() {
  const auto isDone = [](const auto& question) {
    question->tell();
    return question->isAnswered() && !question->awaitsReply();
  };
  waiting_.remove_if(isDone);
  open_.remove_if(isDone);
}

void PolkitConversation::askWaiting() {
  while (!waiting_.empty() && open_.size() < openLimit) {
    auto& question = *waiting_.front();
    question.ask(bus_.get(), ++lastNumber_);
    // It could not be asked, perhaps because the connection has broken: that is looked at first.
    if (question.isAnswered()) eventfd_write(bell_.get(), 1);
    open_.splice(open_.end(), waiting_, waiting_.begin());
  }
}

// Over first: whoever has heard of the end and asks again must not come here.
void PolkitConversation::answerAll() {
  {
    const std::scoped_lock lock(mutex_);
    isOver_ = true;
    open_.splice(open_.end(), arrivals_);
  }
  open_.splice(open_.end(), waiting_);
  for (const auto& question : open_) question->answer(authorization_status::internal);
  tellAnswers();
}

}  // namespace wicket::linux_adapter
