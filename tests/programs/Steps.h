// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

#include <string>
#include <sys/types.h>

namespace wicket::stand_in {

/// Ends the program, with the reason on standard error, unless the condition holds.
void require(bool condition, const char* what);
void say(const std::string& line);

/// Does what the words say, each the name of a step with its arguments behind it.
void runSteps(char** next, char** end);

// Each step is given the arguments that come after its name.

/// @name With the connection, which keeps its number across an exec
/// @{
/// Says "unreachable" and ends the program where that is not allowed.
void connectTo(char** arguments);
void greet(char** arguments);
void send(char** arguments);
/// The first so many bytes of a file.
void sendPart(char** arguments);
void sendWithDescriptor(char** arguments);
/// The parent goes on with the next step; the child sends and stays.
void sendFromChild(char** arguments);
/// The handshake of any user and then the file, all at once.
void request(char** arguments);
/// Says what comes of it: "served" for a method's reply, "failed" for an error, "refused" when the connection
/// ends without a single message, "cut" when it ends after some, "silent" when nothing happens.
void hear(char** arguments);
/// Gives the connection to the process that takes it at that path.
void giveConnection(char** arguments);
void takeConnection(char** arguments);
/// Makes so many connections to a path, one after the other, and has each request refused. Says how many were.
void flood(char** arguments);
/// @}

/// @name With processes
/// @{
void become(char** arguments);
/// A user, a real group, an effective and saved group, and the supplementary groups with commas between them.
void becomeWith(char** arguments);
/// The real group for the effective one and the other way round, as whoever has both may.
void exchangeGroups(char** arguments);
void dropGroup(char** arguments);
void noNewPrivileges(char** arguments);
void userNamespace(char** arguments);
void dumpable(char** arguments);
/// Everything of the process in /proc belongs to root from now on.
void undumpable(char** arguments);
/// The child goes on with the next step, without its parent.
void leaveToChild(char** arguments);
/// The child goes on with the next step, and its parent stays.
void fork(char** arguments);
/// Out of the process group and the session, so that the numbers of those who are left become free.
void leaveGroup(char** arguments);
/// The child goes on with the next step and has that number; its parent stays.
void forkWithNumber(char** arguments);
/// The child goes on with the next step, traced by its parent.
void forkTraced(char** arguments);
/// The same until it has executed a program: then its parent puts the second text in place of the first in its
/// arguments, where the kernel lets it, and lets it go.
void forkAltered(char** arguments);
/// What a process can do to another of its user. Says "entered" if anything succeeds, else "kept out".
void intrude(char** arguments);
/// For what is executed later: NAME=VALUE.
void environment(char** arguments);
void execute(char** arguments);
/// Runs a copy of the program that only memory holds.
void executeFromMemory(char** arguments);
/// Until somebody writes a byte; nobody does any more once the input has ended.
void waitForInput(char** arguments);
/// @}

}  // namespace wicket::stand_in
