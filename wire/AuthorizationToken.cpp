// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#include "wire/AuthorizationToken.h"

#include <algorithm>
#include <concepts>

namespace wicket::wire {
namespace {

constexpr std::array<std::byte, 8> magic{std::byte{'W'}, std::byte{'i'}, std::byte{'c'}, std::byte{'k'},
                                         std::byte{'A'}, std::byte{'u'}, std::byte{'t'}, std::byte{'1'}};

class Writer {
 public:
  explicit Writer(AuthorizationToken::Bytes& bytes) : next_(std::ranges::copy(magic, bytes.begin()).out) {}

  template <std::unsigned_integral Number>
  void write(Number number) {
    for (std::size_t i = 0; i < sizeof number; ++i) *next_++ = static_cast<std::byte>(number >> (8 * i));
  }

 private:
  AuthorizationToken::Bytes::iterator next_;
};

class Reader {
 public:
  explicit Reader(std::span<const std::byte> bytes) : rest_(bytes.subspan(magic.size())) {}

  template <std::unsigned_integral Number>
  Number read() {
    Number number = 0;
    for (std::size_t i = 0; i < sizeof number; ++i) {
      number |= static_cast<Number>(std::to_integer<Number>(rest_[i]) << (8 * i));
    }
    rest_ = rest_.subspan(sizeof number);
    return number;
  }

 private:
  std::span<const std::byte> rest_;
};

}  // namespace

AuthorizationToken::Bytes AuthorizationToken::serialize() const {
  Bytes bytes{};
  Writer writer(bytes);
  writer.write(pid);
  writer.write(uid);
  writer.write(startTime);
  writer.write(pidfdInode);
  return bytes;
}

std::optional<AuthorizationToken> AuthorizationToken::parse(std::span<const std::byte> bytes) {
  if (bytes.size() != length || !std::ranges::equal(bytes.first(magic.size()), magic)) return std::nullopt;
  Reader reader(bytes);
  AuthorizationToken token{};
  token.pid = reader.read<std::uint32_t>();
  token.uid = reader.read<std::uint32_t>();
  token.startTime = reader.read<std::uint64_t>();
  token.pidfdInode = reader.read<std::uint64_t>();
  return token;
}

}  // namespace wicket::wire
