# Completion of boxtool's commands for bash: source this file, or put it into /usr/share/bash-completion/completions.

_boxtool() {
    # What every command takes besides the common options; "box" is what stands before all of them.
    local -A options=(
        ["box"]="--yes"
        ["box input video"]="" ["box input infoframes"]="" ["box input audio"]="" ["box input info"]=""
        ["box output regs"]="" ["box output edid"]="--file --yes" ["box output display"]=""
        ["box edid show"]="" ["box edid read"]="--file --yes" ["box edid write"]="--file --force --yes"
        ["box edid compare"]="--file --display"
        ["box i2c read"]="" ["box i2c write"]="--yes" ["box i2c scan"]=""
        ["box reg read"]="" ["box reg write"]="--yes"
        ["box gpio set"]=""
        ["box mem read"]="" ["box mem write"]="--yes" ["box mem dump"]="--file --yes" ["box mem test"]="--yes"
        ["box dma read"]="--file --yes" ["box dma write"]="--file --yes"
        ["box video-property list"]="" ["box video-property get"]="" ["box video-property set"]=""
        ["box video-source"]=""
        ["box video-frontend"]=""
        ["box driver version"]="" ["box driver api"]="" ["box driver codec-error"]="" ["box driver debug-level"]=""
        ["box nvram get"]="" ["box nvram set"]="" ["box nvram list"]="" ["box nvram commit"]="" ["box nvram load"]="--file"
        ["box nvram empty"]="--yes"
        ["box leds"]=""
        ["box key"]="--peek --raw"
        ["box update list"]="" ["box update run"]="--while-recording --yes"
    )
    local -A files=(["box edid read"]=1 ["box edid write"]=1 ["box edid compare"]=1)
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command="box" words="" name i

    # The command is what stands before the cursor, options left out: at most a group and its command.
    for ((i = 1; i < COMP_CWORD; i++)); do
        [[ ${COMP_WORDS[i]} == -* ]] && continue
        [[ $command != box && -n ${options[$command]+known} ]] && break
        command+=" ${COMP_WORDS[i]}"
    done

    COMPREPLY=()
    # bash takes --file=NAME apart at the equals sign; the names of files are its own business, quoted blanks and all.
    if [[ $previous == --file || $previous == "=" || $current == "=" || (-n ${files[$command]-} && $current != -*) ]]; then
        compopt -o default
        return
    fi
    if [[ $current == -* ]]; then
        words="--help --json --verbose ${options[$command]-}"
    else
        for name in "${!options[@]}"; do
            [[ $name == "$command "* ]] || continue
            name=${name#"$command "}
            words+=" ${name%% *}"
        done
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current" | sort -u)
}

complete -F _boxtool boxtool boxtool-emu
