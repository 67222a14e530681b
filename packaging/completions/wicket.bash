# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
# shellcheck shell=bash
#
# Completion of the command wicket, for bash.

# The names of the installed scripts, one a line; none where there is no script folder. A name that JSON writes with
# an escape is put together again by printf, which knows the same ones but for two.
_wicket_scripts() {
  local name
  "$1" list --json 2>/dev/null | sed -n 's/^[[ ]{"name": "\(.*\)", "size": [0-9]*, "installedAt": .*/\1/; T; s/\\\\/\\0134/g; s/\\"/\\0042/g; p' |
    while IFS= read -r name; do printf '%b\n' "$name"; done
}

# Adds those of the lines of standard input that continue the word $1, in the quoting that it began with. Readline
# ends words at some characters that need no quoting otherwise.
_wicket_reply() {
  local line begun
  begun=$(_wicket_unquoted "$1")
  while IFS= read -r line; do
    [[ $line == "$begun"* ]] || continue
    case $1 in
      \'*) [[ $line == *\'* ]] || COMPREPLY+=("$line") ;;
      \"*) COMPREPLY+=("$(printf '%s' "$line" | sed 's/[$`"\\]/\\&/g')") ;;
      *) COMPREPLY+=("$(printf '%q' "$line" | sed 's/[:=@]/\\&/g')") ;;
    esac
  done
}

# What was typed of the present word, without its quoting.
_wicket_unquoted() {
  local word=$1
  case $word in
    \"*) word=${word#\"} word=${word%\"} ;;
    \'*) word=${word#\'} word=${word%\'} ;;
    *) word=${word//\\\\/$'\n'} word=${word//\\/} word=${word//$'\n'/\\} ;;
  esac
  printf '%s' "$word"
}

_wicket() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} subcommand='' word
  local -A options=(
    [none]='--version --help -h' [install]='--name --help -h' [run]='--no-wait --help -h' [version]='--help -h'
    [list]='--json --help -h' [remove]='--help -h' [uninstall]='--all --yes --help -h' [doctor]='--json --help -h'
  )
  for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
    [[ $word == -* ]] || { subcommand=$word && break; }
  done
  COMPREPLY=()
  if [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "${options[${subcommand:-none}]-}" -- "$current")
    return
  fi
  [[ $previous != --name ]] || return 0
  case $subcommand in
    '') mapfile -t COMPREPLY < <(compgen -W 'install run version list remove uninstall doctor' -- "$current") ;;
    install) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$(_wicket_unquoted "$current")") ;;
    run | remove) _wicket_reply "$current" < <(_wicket_scripts "${COMP_WORDS[0]}") ;;
  esac
}

complete -F _wicket wicket
