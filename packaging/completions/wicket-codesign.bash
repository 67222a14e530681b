# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
# shellcheck shell=bash
#
# Completion of the command wicket-codesign, for bash.

_wicket_codesign() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} subcommand=''
  local -A options=(
    [none]='--version --help -h' [sign]='--key --certificate --identifier --entitlements --options --help -h'
    [verify]='--anchor --requirement --help -h' [display]='--anchor --json --help -h'
  )
  ((COMP_CWORD == 1)) || subcommand=${COMP_WORDS[1]}
  COMPREPLY=()
  case $current in
    -*) mapfile -t COMPREPLY < <(compgen -W "${options[${subcommand:-none}]-}" -- "$current"); return ;;
  esac
  case $subcommand/$previous in
    */--identifier | */--requirement) ;;
    */--options) mapfile -t COMPREPLY < <(compgen -W 'runtime' -- "$current") ;;
    /*) mapfile -t COMPREPLY < <(compgen -W 'sign verify display' -- "$current") ;;
    *) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
  esac
}

complete -F _wicket_codesign wicket-codesign
