// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "adapters/linux/peer/UserShares.h"

#include <map>
#include <mutex>
#include <utility>

namespace wicket::linux_adapter {

class UserShares::Counts {
 public:
  /// A limit is known by its address: there is one of each.
  using Key = std::pair<const wire::UserLimit*, uid_t>;

  [[nodiscard]] bool add(const Key& key) {
    const std::scoped_lock lock(mutex_);
    unsigned& count = counts_[key];
    if (key.second != 0 && count >= key.first->most) return false;
    ++count;
    return true;
  }
  void remove(const Key& key) {
    const std::scoped_lock lock(mutex_);
    const auto found = counts_.find(key);
    if (--found->second == 0) counts_.erase(found);
  }

 private:
  std::mutex mutex_;
  std::map<Key, unsigned> counts_;
};

class UserShares::One {
 public:
  One(std::shared_ptr<Counts> counts, const Counts::Key& key) : counts_(std::move(counts)), key_(key) {}
  One(const One&) = delete;
  One& operator=(const One&) = delete;
  ~One() {
    if (isTaken_) counts_->remove(key_);
  }
  [[nodiscard]] bool take() { return isTaken_ = counts_->add(key_); }

 private:
  const std::shared_ptr<Counts> counts_;
  const Counts::Key key_;
  bool isTaken_ = false;
};

UserShares::UserShares() : counts_(std::make_shared<Counts>()) {}

UserShares::Share UserShares::take(const wire::UserLimit& limit, uid_t user) {
  auto one = std::make_shared<One>(counts_, Counts::Key{&limit, user});
  return one->take() ? std::move(one) : nullptr;
}

}  // namespace wicket::linux_adapter
