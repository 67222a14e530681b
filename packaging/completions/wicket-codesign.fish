# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
#
# Completion of the command wicket-codesign, for fish.

set --local none 'not __fish_seen_subcommand_from sign verify display'
set --local codesign complete --command wicket-codesign

$codesign --short-option h --long-option help --description 'Print the help and exit'
$codesign --condition $none --no-files --long-option version --description 'Print the version of this command and exit'
$codesign --condition $none --no-files --arguments sign --description 'Sign a program'
$codesign --condition $none --no-files --arguments verify --description 'Verify the signature of a program'
$codesign --condition $none --no-files --arguments display --description 'Show what the signature of a program says'
$codesign --condition '__fish_seen_subcommand_from sign' --long-option key --require-parameter --description 'The private key'
$codesign --condition '__fish_seen_subcommand_from sign' --long-option certificate --require-parameter --description 'The certificates'
$codesign --condition '__fish_seen_subcommand_from sign' --long-option identifier --exclusive --description "The program's identifier"
$codesign --condition '__fish_seen_subcommand_from sign' --long-option entitlements --require-parameter --description 'A property list with the entitlements'
$codesign --condition '__fish_seen_subcommand_from sign' --long-option options --exclusive --arguments runtime --description 'How the program runs'
$codesign --condition '__fish_seen_subcommand_from verify display' --long-option anchor --require-parameter --description 'The root certificate to trust'
$codesign --condition '__fish_seen_subcommand_from verify' --long-option requirement --exclusive --description 'A code requirement'
$codesign --condition '__fish_seen_subcommand_from display' --long-option json --description 'Print a JSON object'
