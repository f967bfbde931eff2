# fish completion for finance. The command prints the keywords, and its --help the options.

function __finance_keywords
    finance --list 2>/dev/null | string replace -rf '^  ([A-Z]+) +(.*)' '$1\t$2'
end

function __finance_options
    finance --help 2>/dev/null | string match -r '^  (?:-\w,)?--[\w-]+' | string match -r -- '--[\w-]+'
end

function __finance_has_job
    set -l words (commandline -opc)
    for word in $words[2..]
        contains -- $word -e --expression --calls --filter --list --describe --definitions
        and return 0
        contains -- (string upper -- $word) (__finance_keywords | string replace -r '\t.*' '')
        and return 0
    end
    return 1
end

complete -c finance -f
complete -c finance -n 'not __finance_has_job' -a '(__finance_keywords)'
complete -c finance -n 'string match -q -- "-*" (commandline -ct)' -a '(__finance_options)'
complete -c finance -l describe -x -a '(__finance_keywords)'
complete -c finance -l filter -f -a '(__finance_keywords)'
complete -c finance -s f -l from -x -a 'csv tsv ndjson'
complete -c finance -s t -l to -x -a 'csv tsv ndjson table'
complete -c finance -l dates -x -a '%d/%m/%Y %m/%d/%Y %d.%m.%Y %Y%m%d excel'
complete -c finance -l errors -x -a 'null text skip fail'
complete -c finance -l escape -x -a 'backslash none'
complete -c finance -l definitions -x -a clickhouse
for option in calls module errors-file
    complete -c finance -l $option -r -F
end
complete -c finance -s i -l input -r -F
complete -c finance -s o -l output -r -F
