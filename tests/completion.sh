#!/usr/bin/env bash
# Checks what the completion for bash offers.
# usage: completion.sh COMMAND COMPLETION
source /usr/share/bash-completion/bash_completion
source "$2"
expect() { # OFFERED WORD...: checks the words offered for the last word
  local offered=$1
  shift
  COMP_WORDS=(finance "$@") COMP_CWORD=$# COMP_LINE="finance $*" COMPREPLY=()
  COMP_POINT=${#COMP_LINE}
  _finance "${command_path:?}" "${*: -1}" "${COMP_WORDS[COMP_CWORD - 1]}"
  [ "${COMPREPLY[*]}" = "$offered" ] || { echo "$*: offers ${COMPREPLY[*]}"; exit 1; }
}
command_path=$1
expect 'PRICE PRICEDISC PRICEMAT' pri
expect XIRR --describe XI
expect 'null text skip fail' --errors ''
expect '--describe --delimiter --definitions' --de
expect ndjson -i bonds.csv -t nd
expect '' PRICE 20
expect 'YIELD YIELDDISC YIELDMAT' --json yie
expect '' -e x=1 yie
expect 'tsv table' --to t
LC_ALL=C.UTF-8  # here the upper case of ı is I; in Turkish, that of i is İ
expect '' ırr
