# Completion of boxemu for bash: source this file, or put it into /usr/share/bash-completion/completions.
# Nothing is listed here: the options are those of "boxemu --help", and what a box can be told is asked of that box.

# _boxemu_flat: one command to a line, of a list that has what a command is told on lines of their own below it.
_boxemu_flat() {
    awk '
        !/^ / { sub(/   .*/, ""); print; sub(/( \[[^]]*\])*$/, ""); sub(/ [^ ]*$/, ""); above = $0 }
        /^ / {
            sub(/^ +/, ""); sub(/   .*/, ""); sub(/^([|]|[A-Z]+:) /, "")
            count = split($0, told, / [|] /)
            for (i = 1; i <= count; i++) print above " " told[i]
        }'
}

# _boxemu_next WORD...: which words follow these, by the list of commands on standard input: "card busy N|on|off".
_boxemu_next() {
    local line i
    local -a usage
    while IFS= read -r line; do
        read -ra usage <<<"$line"
        for ((i = 0; i < $#; i++)); do # a word in capitals stands for any
            [[ ${usage[i]-} =~ ^[A-Z_|]+$ || "|${usage[i]-}|" == *"|${*:i+1:1}|"* ]] || continue 2
        done
        tr '[]|' '\n' <<<"${usage[$#]-}" | grep -E '^[a-z0-9-]+$'
    done
}

_boxemu() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words="" i
    local -a told=() socket=()

    COMPREPLY=()
    for ((i = 2; i < COMP_CWORD; i++)); do
        if [[ ${COMP_WORDS[i]} == --socket ]]; then
            socket=(--socket "${COMP_WORDS[++i]}")
        elif [[ ${COMP_WORDS[i]} != -* ]]; then
            told+=("${COMP_WORDS[i]}")
        fi
    done
    if [[ $previous == --encoder ]]; then
        words="ffmpeg bookkeeping"
    elif [[ $current == -* ]]; then
        words=$("${COMP_WORDS[0]}" --help | grep -oE -- '--[a-z-]+')
    elif [[ $COMP_CWORD -eq 1 ]]; then
        words=ctl
    elif [[ ${COMP_WORDS[1]} == ctl && $previous != --* ]]; then
        words=$("${COMP_WORDS[0]}" ctl "${socket[@]}" help 2>/dev/null </dev/null | _boxemu_flat | _boxemu_next "${told[@]}")
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current" | sort -u)
    # Where there are no words there may be a file: a root, a scenario, an EDID.
    [[ -n $words ]] || compopt -o default
}

complete -F _boxemu boxemu
