// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
//
// A library for LD_PRELOAD that acts before the program into which it was loaded: it makes the process unreadable for
// its user, as the companion is, connects to the helper, sends the bytes of the file that WICKET_CALL names and says
// what came of it. In C, with calls that every release of Debian has.

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

static char buffer[65536];

static ssize_t contentOf(const char *name) {
  const int file = open(name, O_RDONLY | O_CLOEXEC);
  const ssize_t length = file < 0 ? -1 : read(file, buffer, sizeof buffer);
  close(file);
  return length;
}

/// Everything that the helper sends until it closes.
static ssize_t answerOn(int connection) {
  ssize_t length = 0;
  for (;;) {
    const ssize_t count = read(connection, buffer + length, sizeof buffer - (size_t)length);
    if (count <= 0) return length;
    length += count;
    if (memmem(buffer, (size_t)length, "9417", 4) != NULL) return length;
  }
}

__attribute__((constructor)) static void act(void) {
  const char *const call = getenv("WICKET_CALL");
  if (call == NULL) return;
  prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
  struct sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = "/run/net.orvane.Wicket.TlvPrivilegedHelper"};
  const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const ssize_t length = contentOf(call);
  if (connect(connection, (const struct sockaddr *)&address, sizeof address) != 0 ||
      send(connection, buffer, (size_t)length, MSG_NOSIGNAL) != length) {
    puts("library: not connected");
  } else {
    const ssize_t answered = answerOn(connection);
    puts(memmem(buffer, (size_t)answered, "9417", 4) != NULL ? "library: answered" : "library: cut, not answered");
  }
  fflush(stdout);
  close(connection);
}
