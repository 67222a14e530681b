// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <optional>
#include <string_view>

namespace wicket::companion {

/// What the helper does to the two paths of an installation before it uses them, seen from the sender's
/// side: it splits the request at commas, trims the pieces, refuses long ones, and keeps only what follows
/// the last character that is neither allowed in a URL path nor white space. A path that survives all of
/// this arrives as it was sent.
namespace clean_up {

/// The first character that would cut @p text, a comma included. None when there is none; @p text must be
/// UTF-8.
[[nodiscard]] std::optional<char32_t> firstMangledCharacter(std::string_view text);
/// Whether white space at either end would be trimmed away.
[[nodiscard]] bool wouldBeTrimmed(std::string_view text);
/// Whether @p path arrives unchanged.
[[nodiscard]] bool survives(std::string_view path);

}  // namespace clean_up
}  // namespace wicket::companion
