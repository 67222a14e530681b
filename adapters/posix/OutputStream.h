// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

#include "adapters/posix/Utf8Chunker.h"
#include "base/system/Descriptor.h"

namespace wicket::posix {

/// One of a child's output streams, read without blocking and handed on chunk by chunk.
class OutputStream {
 public:
  using Handler = std::function<void(std::span<const std::byte>)>;

  OutputStream(Descriptor readEnd, Handler handler);

  [[nodiscard]] bool isOpen() const { return readEnd_.isOpen(); }
  [[nodiscard]] int descriptor() const { return readEnd_.get(); }

  /// One read and its chunk; closes at the end of the stream, after handing on what was kept.
  void deliver();
  /// Delivers what is in the pipe at this moment, and the end of the stream if that is all. Never
  /// more, so that a descendant that writes without pause cannot make it last.
  void deliverWritten();

 private:
  [[nodiscard]] std::size_t read(std::size_t limit);
  void pass(std::span<const std::byte> chunk) const;
  void close();

  Descriptor readEnd_;
  Handler handler_;
  std::unique_ptr<Utf8Chunker> chunker_ = std::make_unique<Utf8Chunker>();
};

}  // namespace wicket::posix
