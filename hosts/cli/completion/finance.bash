# bash completion for finance                              -*- shell-script -*-

_finance_keywords() { "$1" --list 2>/dev/null | awk '/^  / { print $1 }'; }

_finance() {
  local cur prev words cword
  _init_completion || return
  local choices=
  case $prev in
    -i | --input | -o | --output | --calls | --module) _filedir; return ;;
    -e | --expression | -d | --delimiter | -j | --jobs | --by | --digits) return ;;
    -t | --to) choices='csv tsv ndjson' ;;
    --errors) choices='null text skip fail' ;;
    --escape) choices='backslash none' ;;
    --definitions) choices='clickhouse' ;;
    --describe | --filter) choices=$(_finance_keywords "$1") ;;
    *)
      if [[ $cur == -* ]]; then
        choices=$(_parse_help "$1")
      elif ((cword == 1)) || [[ $prev == -- ]]; then
        choices=$(_finance_keywords "$1")
      fi
      ;;
  esac
  # Keywords are offered for small letters, too, in every locale: in Turkish, i is not the small I.
  mapfile -t COMPREPLY <<<"$(
    LC_ALL=C
    compgen -W "$choices" -- "${cur^^}" || compgen -W "$choices" -- "$cur"
  )"
  [[ -n ${COMPREPLY[0]} ]] || COMPREPLY=()
} &&
  complete -F _finance finance
