// SPDX-License-Identifier: MIT
// SPDX-FileCopyrightText: 2026 the Wicket helper authors

/* Each list gets a section of its own, so that a tool can take it out of the executable. */

        .section .wicket.info_plist, "a", %progbits
        .globl  wicket_info_plist_begin
        .globl  wicket_info_plist_end
        .hidden wicket_info_plist_begin
        .hidden wicket_info_plist_end
wicket_info_plist_begin:
        .incbin "Info.plist"
wicket_info_plist_end:

        .section .wicket.launchd_plist, "a", %progbits
        .globl  wicket_launchd_plist_begin
        .globl  wicket_launchd_plist_end
        .hidden wicket_launchd_plist_begin
        .hidden wicket_launchd_plist_end
wicket_launchd_plist_begin:
        .incbin "launchd.plist"
wicket_launchd_plist_end:

        .section .note.GNU-stack, "", %progbits
