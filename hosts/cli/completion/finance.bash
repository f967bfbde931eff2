# bash completion for finance                              -*- shell-script -*-

_finance_keywords() { "$1" --list 2>/dev/null | awk '/^  / { print $1 }'; }

# Whether the words before the current one have a keyword or an option that takes its place.
_finance_has_job() {
  local word
  for word in "${words[@]:1:cword-1}"; do
    case $word in
      -e | --expression | --calls | --filter | --list | --describe | --definitions) return 0 ;;
      -- | -*) ;;
      *) _finance_keywords "$1" | grep -qixF -e "$word" && return 0 ;;
    esac
  done
  return 1
}

_finance() {
  local cur prev words cword
  _init_completion || return
  local choices=
  case $prev in
    -i | --input | -o | --output | --calls | --module | --errors-file) _filedir; return ;;
    -e | --expression | -d | --delimiter | -j | --jobs | --by | --digits | --rows | --select | \
      --numbers | --number | --keep) return ;;
    -f | --from) choices='csv tsv ndjson' ;;
    -t | --to) choices='csv tsv ndjson table' ;;
    --dates) choices='%d/%m/%Y %m/%d/%Y %d.%m.%Y %Y%m%d excel' ;;
    --errors) choices='null text skip fail' ;;
    --escape) choices='backslash none' ;;
    --definitions) choices='clickhouse' ;;
    --describe | --filter) choices=$(_finance_keywords "$1") ;;
    *)
      if [[ $cur == -* ]]; then
        choices=$(_parse_help "$1")
      elif ! _finance_has_job "$1"; then
        choices=$(_finance_keywords "$1")
      fi
      ;;
  esac
  # A keyword completes a word in lower case, too, in every locale: in Turkish, the upper case of i is
  # not I.
  mapfile -t COMPREPLY <<<"$(
    LC_ALL=C
    compgen -W "$choices" -- "${cur^^}" || compgen -W "$choices" -- "$cur"
  )"
  [[ -n ${COMPREPLY[0]} ]] || COMPREPLY=()
} &&
  complete -F _finance finance
