// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/BusThread.h"

#include <sys/epoll.h>
#include <system_error>
#include <utility>

#include "base/system/linux/SdHandle.h"

namespace wicket::linux_adapter {
namespace {

void check(int result, const char* what) {
  if (result < 0) throw std::system_error(-result, std::generic_category(), what);
}

int onBell(sd_event_source* /*source*/, int /*descriptor*/, std::uint32_t /*events*/, void* doorbell) {
  static_cast<BusDoorbell*>(doorbell)->answer();
  return 0;
}

}  // namespace

class BusThread::Stopper : public BusWorker {
 public:
  void service() override { stopped_ = true; }
  [[nodiscard]] bool hasStopped() const { return stopped_; }

 private:
  bool stopped_ = false;
};

BusThread::BusThread(std::shared_ptr<BusDoorbell> doorbell, std::function<void(sd_event*)> setUp,
                     std::function<void()> tearDown)
    : doorbell_(std::move(doorbell)), stopper_(std::make_shared<Stopper>()) {
  thread_ = std::thread([this, before = std::move(setUp), after = std::move(tearDown)] { run(before, after); });
}

BusThread::~BusThread() {
  doorbell_->ring(stopper_);
  thread_.join();
}

// A thread that cannot even set itself up, or whose loop fails, serves nobody: ending the process, as
// noexcept does, lets the service manager start it afresh.
void BusThread::run(const std::function<void(sd_event*)>& setUp, const std::function<void()>& tearDown) noexcept {
  sd_event* created = nullptr;
  check(sd_event_new(&created), "sd_event_new");
  const SdHandle<sd_event> event(created);
  sd_event_source* bell = nullptr;
  check(sd_event_add_io(event.get(), &bell, doorbell_->descriptor(), EPOLLIN, &onBell, doorbell_.get()),
        "sd_event_add_io");
  const SdHandle<sd_event_source> bellSource(bell);
  setUp(event.get());
  while (!stopper_->hasStopped()) check(sd_event_run(event.get(), UINT64_MAX), "sd_event_run");
  doorbell_->close();
  tearDown();
}

}  // namespace wicket::linux_adapter
