// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket::wire {

/// A reply block that is called again after the method's reply has gone out (a script's real exit
/// status) becomes one signal on the helper's object: the serial of the request it belongs to, as
/// the caller's own message carried it, and the value.
inline constexpr char replyBlockInterface[] = "net.orvane.Wicket.ReplyBlock";
inline constexpr char replyBlockSignal[] = "CalledAgain";
inline constexpr char replyBlockSignature[] = "ux";
/// The error that answers a request whose reply block was let go of without having been called.
inline constexpr char noReplyError[] = "net.orvane.Wicket.Error.NoReply";

}  // namespace wicket::wire
