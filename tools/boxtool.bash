# Completion of boxtool's commands for bash: source this file, or put it into /usr/share/bash-completion/completions.

_boxtool() {
    # The options of every command; "box" is what stands before all of them.
    local -A options=(
        ["box"]="--json --yes"
        ["box input video"]="--json" ["box input infoframes"]="--json" ["box input audio"]="--json" ["box input info"]="--json"
        ["box output regs"]="--json" ["box output edid"]="--file --json" ["box output display"]="--json"
        ["box edid show"]="--json" ["box edid read"]="--json" ["box edid write"]="--yes" ["box edid compare"]="--display --json"
        ["box i2c read"]="--json" ["box i2c write"]="--yes" ["box i2c scan"]="--json"
        ["box reg read"]="--json" ["box reg write"]="--yes"
        ["box gpio set"]=""
        ["box mem read"]="--json" ["box mem write"]="--yes" ["box mem dump"]="--json" ["box mem test"]="--json --yes"
        ["box dma read"]="--file --json" ["box dma write"]="--file --yes"
        ["box video-property list"]="--json" ["box video-property get"]="--json" ["box video-property set"]=""
        ["box video-source"]="--json"
        ["box video-frontend"]="--json"
        ["box driver version"]="--json" ["box driver api"]="--json" ["box driver codec-error"]="--json"
        ["box driver debug-level"]="--json"
        ["box nvram get"]="--json" ["box nvram set"]="" ["box nvram list"]="" ["box nvram commit"]="" ["box nvram load"]="--file"
        ["box nvram empty"]="--yes"
        ["box leds"]="--json"
        ["box key"]="--peek --raw --json"
        ["box update list"]="--json" ["box update run"]="--json --yes"
    )
    local -A files=(["box edid read"]=1 ["box edid write"]=1 ["box edid compare"]=1)
    local current=${COMP_WORDS[COMP_CWORD]} command="box" words="" name i

    # The command is what stands before the cursor, options left out: at most a group and its command.
    for ((i = 1; i < COMP_CWORD; i++)); do
        [[ ${COMP_WORDS[i]} == -* ]] && continue
        [[ $command != box && -n ${options[$command]+known} ]] && break
        command+=" ${COMP_WORDS[i]}"
    done

    COMPREPLY=()
    if [[ ${COMP_WORDS[COMP_CWORD - 1]} == --file || (-n ${files[$command]-} && $current != -*) ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
    fi
    if [[ $current == -* ]]; then
        words="--help ${options[$command]-}"
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
