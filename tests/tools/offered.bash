#!/usr/bin/env bash
# Prints what bash offers to complete a command line, one a line:
#
#   bash offered.bash COMPLETION WORD...
#
# COMPLETION is the file of the completion function. The words are cut as bash cuts a line; the last
# one is to be completed.
set -u
# shellcheck source=/dev/null
. "$1"
shift
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
registered=$(complete -p "$1")
[[ $registered =~ -F\ ([^ ]+) ]]
"${BASH_REMATCH[1]}" "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
((${#COMPREPLY[@]} == 0)) || printf '%s\n' "${COMPREPLY[@]}"
