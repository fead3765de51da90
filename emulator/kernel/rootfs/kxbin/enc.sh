#!/bin/bash
# The box's encoder, stood in for on a PC: enc.sh CONFIG OUTPUT
#
# Writes OUTPUT (a path of the box) with the picture size, output frame rate, profile, bit rate, sample rate and channels
# that CONFIG asks for, until it reads 'q' or its standard input ends. AAC goes up to 96 kHz: a source above is written at
# half its rate; with a rate of 0 there is no audio clock and the file has no sound.
#
# Bash, because its read takes a single byte without another process: killing the encoder leaves nothing behind that
# holds the stop pipe. What it does is told in run/encoder/log, a line per event. The program that writes the file ends
# with this script, however that ends.

config=$1
case $config in /*) ;; *) config=$PWD/$config ;; esac
cd -P "${0%/*}/.." || exit 1
root=$PWD
run=$root/run/encoder
output=$root$2

tell() {
    echo "$*" >>"$run/log"
}
writer=0
end() {
    if ((writer > 0)); then
        kill -TERM "$writer" 2>/dev/null
        wait "$writer" 2>/dev/null
    fi
    : >"$run/writing"
    tell "ended $$"
    exit "$1"
}
refuse() {
    echo "enc.sh: $1" >&2
    tell "refused $$"
    exit 1
}
behaviour() {
    read -r what delay <"$run/behaviour"
}

# Held until the box's clock goes on; but not for nobody, and not from whoever tells it to stop already.
while [ -e "$run/hold" ] && ! read -r -t 0 && kill -0 $PPID 2>/dev/null; do sleep 0.002; done

declare -A value
read_config() {
    local key rest
    while read -r key rest; do
        case $key in "" | \#*) ;; *) value[$key]=$rest ;; esac
    done <"$config" || refuse "cannot read $config"
}

# number KEY LOW HIGH: check a value and put it into $number
number() {
    number=${value[$1]}
    if [[ ! $number =~ ^[0-9]{1,9}$ ]] || ((10#$number < $2 || 10#$number > $3)); then
        refuse "$config: $1 is '$number', not $2 to $3"
    fi
    number=$((10#$number))
}

# "44.1k" is 44100 Hz.
read_sample_rate() {
    local text=${value[AudioControlParam-SampleRate]}
    [[ $text =~ ^([0-9]{1,3})(\.([0-9]{1,3}))?k$ ]] || refuse "$config: AudioControlParam-SampleRate is '$text'"
    local thousandths=${BASH_REMATCH[3]}000
    sample_rate=$((10#${BASH_REMATCH[1]} * 1000 + 10#${thousandths:0:3}))
    if ((sample_rate > 96000)); then
        echo "enc.sh: AAC has no $sample_rate Hz; the file gets $((sample_rate / 2)) Hz" >&2
        sample_rate=$((sample_rate / 2))
    fi
    case $sample_rate in
    0) echo "enc.sh: no audio clock; the file gets no sound" >&2 ;;
    7350 | 8000 | 11025 | 12000 | 16000 | 22050 | 24000 | 32000 | 44100 | 48000 | 64000 | 88200 | 96000) ;;
    *) refuse "AAC has no $sample_rate Hz" ;;
    esac
}

# What x264 uses decides which profile a player is told; its fastest preset leaves out what the higher ones are made of.
read_profile() {
    profile=${value[StreamControl-Profile]}
    case $profile in
    baseline) tools=cabac=0:8x8dct=0 ;;
    main) tools=cabac=1:8x8dct=0 ;;
    high) tools=cabac=1:8x8dct=1 ;;
    *) refuse "$config: StreamControl-Profile is '$profile', not baseline, main or high" ;;
    esac
}

# The picture tells what was recorded: a pattern of its own for each port, port and format of the source, the file's name
# and the time in it.
record_with_ffmpeg() {
    local port format pattern=testsrc caption=run/encoder/caption sound=(-an)
    read -r port format <"$run/input"
    [ "$port" = 1 ] && pattern=testsrc2
    printf 'port %s  %s\n%s  %%{pts:hms}\n' "$port" "$format" "${output##*/}" >"$caption"
    if ((sample_rate > 0)); then
        sound=(-c:a aac -ar "$sample_rate" -ac "$channels" -b:a "$audio_rate")
    fi
    # The pattern is made small and enlarged, which costs half as much as making it large. Fragments of a second keep what
    # was written when the power fails. Filler makes the bit rate what was asked for.
    setpriv --pdeathsig KILL ffmpeg -nostdin -hide_banner -loglevel error -y \
        -re -f lavfi -i "$pattern=size=320x180:rate=$frame_rate,scale=$width:$height:flags=neighbor,format=yuv420p,
            drawtext=font=monospace:textfile=$caption:fontsize=max(8\,h/22):fontcolor=white:box=1:boxcolor=black:
            boxborderw=8:x=(w-tw)/2:y=h-th-h/20" \
        -re -f lavfi -i "sine=frequency=1000:sample_rate=$((sample_rate > 0 ? sample_rate : 48000))" \
        -c:v libx264 -preset ultrafast -profile:v "$profile" -g "$frame_rate" -b:v "$video_rate" \
        -maxrate "$video_rate" -bufsize "$video_rate" -x264-params "nal-hrd=cbr:$tools" "${sound[@]}" \
        -movflags +frag_keyframe+empty_moov+default_base_moof -flush_packets 1 -f mp4 "$output" </dev/null &
    writer=$!
}

# Ends when 'q' is read or nobody is left to write one.
wait_for_stop() {
    local key status
    while :; do
        IFS= read -r -n 1 -t 0.25 key
        status=$?
        if ((status == 0)) && [ "$key" = q ]; then return; fi
        if ((status > 0 && status <= 128)); then return; fi
        # A card that was pulled took the file away: the encoder does not notice and goes on into nothing. Without
        # its writer for another reason it ends.
        if ((writer > 0)) && ! kill -0 "$writer" 2>/dev/null && [ -e "$output" ]; then
            end 1
        fi
    done
}

behaviour
[ "$what" = refuse ] && refuse "told to refuse"
read_config
number PictureResolution-InPicWidth 16 4096; width=$number
number PictureResolution-InPicHeight 16 2304; height=$number
number InputControl-OutFrameRate 1 120; frame_rate=$number
number RateControl-AvgBitRate 1000 200000000; video_rate=$number
number AudioControlParam-BitRate 8000 512000; audio_rate=$number
number AudioControlParam-ChNum 1 2; channels=$number
read_sample_rate
read_profile
((sample_rate == 0)) && audio_rate=0
: 2>/dev/null >"$output" || refuse "cannot write $output"

trap 'end 1' HUP INT TERM
[ "$what" = deaf ] && trap '' TERM
read -r kind <"$run/kind"
[ "$kind" = ffmpeg ] && record_with_ffmpeg
echo $$ >"$run/writing" # the file is open: see umount
tell "running $$ $writer $width $height $frame_rate $sample_rate $channels $((video_rate + audio_rate)) $output"
wait_for_stop
tell "stopping $$"

# Hang, but not for nobody: who started the script may be gone, and the box as well. A signal ends that at once.
behaviour
[ "$what" = hang ] && trap - TERM
deadline=$((${EPOCHREALTIME/[.,]/} + 1000 * ${delay:-0}))
while [[ $what == @(hang|deaf) ]] && ((${EPOCHREALTIME/[.,]/} < deadline)) && kill -0 $PPID 2>/dev/null; do
    sleep 0.02
    behaviour 2>/dev/null || break
done
end 0
