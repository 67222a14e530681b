// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <unistd.h>
#include <utility>

namespace wicket {

/// A file descriptor that is closed with its owner.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    reset(other.release());
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { reset(); }

  [[nodiscard]] int get() const { return number_; }
  [[nodiscard]] bool isOpen() const { return number_ >= 0; }
  [[nodiscard]] int release() { return std::exchange(number_, -1); }
  void reset(int number = -1) {
    if (isOpen()) ::close(number_);
    number_ = number;
  }

 private:
  int number_ = -1;
};

}  // namespace wicket
