// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket::wire {

/// What the helper lets one user have at a time; root may have any number. Whoever asks for more gets the D-Bus error
/// of that limit instead of a reply.
struct UserLimit {
  unsigned most;
  const char* error;
  const char* text;  ///< for whoever reads the error
};

inline constexpr UserLimit openConnections{32, "net.orvane.Wicket.Error.TooManyConnections",
                                           "A user may have 32 connections open."};
/// Installations that wait for their consent or are under way.
inline constexpr UserLimit openQuestions{8, "net.orvane.Wicket.Error.TooManyQuestions",
                                         "A user may have 8 installations under way."};
/// A script counts until it has ended and nobody writes to its streams any more.
inline constexpr UserLimit runningScripts{64, "net.orvane.Wicket.Error.TooManyScripts",
                                          "A user may have 64 scripts running."};

}  // namespace wicket::wire
