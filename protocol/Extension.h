// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors
#pragma once

namespace wicket {

/// File-name extensions, without the dot. The helper reads those of scripts; the others belong to the
/// table that it shares with the companion application.
struct Extension {
  static constexpr char aiff[] = "aiff";
  static constexpr char alias[] = "alias";
  static constexpr char app[] = "app";
  static constexpr char applescript[] = "applescript";
  static constexpr char applescriptBundle[] = "scptd";
  static constexpr char amr[] = "amr";
  static constexpr char au[] = "au";
  static constexpr char coreAudio[] = "caf";
  static constexpr char movie[] = "mov";
  static constexpr char m4p[] = "m4p";
  static constexpr char mp3[] = "mp3";
  static constexpr char mp4[] = "mp4";
  static constexpr char mp4Audio[] = "m4a";
  static constexpr char privilegedHelper[] = "TlvPrivilegedHelper";
  static constexpr char python[] = "py";
  static constexpr char resource[] = "rsrc";
  static constexpr char script[] = "scpt";
  static constexpr char sd2[] = "sd2";
  static constexpr char shell[] = "sh";
  static constexpr char snd[] = "snd";
  static constexpr char xml[] = "xml";
  static constexpr char wav[] = "wav";
};

}  // namespace wicket
