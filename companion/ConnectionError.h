// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket::companion {

enum class ConnectionFailure {
  notInstalled,  ///< there is no socket
  notPermitted,  ///< the socket's mode keeps this process out
  notListening,  ///< the socket is a leftover: nobody listens
  timedOut,      ///< nobody took the connection within the time limit
  failed,        ///< anything else
};

struct ConnectionError {
  ConnectionFailure failure;
  int systemError;  ///< errno
};

}  // namespace wicket::companion
