# shellcheck shell=bash
# Shared by scripts/install-check.sh and scripts/arm64-test.sh: finding the window
# on the X server of start_x, photographing it and reading its rows. Source it.

# Prints the id of the first window whose title matches the regular expression $1,
# waiting up to $3 seconds while the process $2 lives.
wait_window() {
    local title=$1 pid=$2 wid
    for _ in $(seq $(($3 * 2))); do
        wid=$(xdotool search --name "$title" 2>/dev/null | head -n 1) && [ -n "$wid" ] && { echo "$wid"; return 0; }
        kill -0 "$pid" 2>/dev/null || return 1
        sleep 0.5
    done
    return 1
}

# Saves the window $1 to $2 once it shows more than a few colours (a window is
# mapped before its first frame lands, and emulated drawing takes many seconds),
# trying for up to $3 seconds.
screenshot() {
    local wid=$1 shot=$2 colours
    for _ in $(seq "$3"); do
        import -window "$wid" "$shot" 2>/dev/null &&
            colours=$(identify -format '%k' "$shot" 2>/dev/null) && [ "${colours:-0}" -gt 16 ] && return 0
        sleep 1
    done
    echo "window $wid drew nothing in $3 s" >&2
    return 1
}

# Prints the text of the screenshot $1 read by OCR in language $2 (eng, chi_sim+eng).
# Tripled, and read as sparse text: the window's small grey lines and its rows' wide
# gaps made tesseract's page layout drop a whole row of the software renderer's text.
read_text() {
    local big
    big=$(mktemp --suffix=.png)
    convert "$1" -resize 300% "$big"
    tesseract "$big" - -l "$2" --psm 11 2>/dev/null
    rm -f "$big"
}

# Succeeds when the text $1 holds the five row headings of the English window.
english_rows() {
    local heading
    for heading in CPU RAM Network Disk "Operating System"; do
        grep -q "$heading" <<<"$1" || { echo "no row \"$heading\" in the window" >&2; return 1; }
    done
}

# Screenshots the window $1 to $2 and prints its text read in language $3 once
# the command $4 accepts that text, trying $5 times. A window can be caught in
# the middle of drawing a frame (slowly, under emulation), so one bad read is
# not yet a missing row; after the last try the text is printed and $4 judged.
read_window() {
    local wid=$1 shot=$2 language=$3 accepts=$4 tries=$5 text
    for try in $(seq "$tries"); do
        screenshot "$wid" "$shot" 120 || return 1
        text=$(read_text "$shot" "$language")
        if [ "$try" -lt "$tries" ] && ! "$accepts" "$text" 2>/dev/null; then
            sleep 2
            continue
        fi
        printf '%s\n' "$text"
        return 0
    done
}
