// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/bus/BusListener.h"

#include <future>
#include <utility>

#include "adapters/linux/bus/AttributedReceive.h"

namespace wicket::linux_adapter {

class BusListener::Finish : public BusWorker {
 public:
  explicit Finish(BusAcceptor& acceptor) : acceptor_(acceptor) {}
  void service() override {
    acceptor_.finish([this] { isDone_.set_value(); });
  }
  void wait() { isDone_.get_future().wait(); }

 private:
  BusAcceptor& acceptor_;
  std::promise<void> isDone_;
};

BusListener::BusListener(Descriptor listening, std::shared_ptr<UserShares> shares)
    : listening_(std::move(listening)), doorbell_(std::make_shared<BusDoorbell>()), shares_(std::move(shares)) {
  // What a client writes from the moment at which it has connected carries its name, and that is before it is accepted.
  AttributedReceive::enable(listening_.get());
}

BusListener::~BusListener() {
  thread_.reset();
  // The delegate may go away after this: wait for what it is being asked.
  std::promise<void> isIdle;
  if (delegateQueue_.finish([&isIdle] { isIdle.set_value(); })) isIdle.get_future().wait();
}

void BusListener::setDelegate(ListenerDelegate& delegate) { delegate_ = &delegate; }

void BusListener::resume() {
  if (thread_ || delegate_ == nullptr) return;
  acceptor_.emplace(std::move(listening_), doorbell_, *shares_, delegateQueue_, *delegate_);
  doorbell_->makeRoomFor(2);  // for the thread itself and for the end
  thread_.emplace(doorbell_, [this](sd_event* event) { acceptor_->start(event); }, [this] { acceptor_->stop(); });
}

void BusListener::finish() {
  if (!thread_) return;
  const auto end = std::make_shared<Finish>(*acceptor_);
  doorbell_->ring(end);
  end->wait();
}

}  // namespace wicket::linux_adapter
