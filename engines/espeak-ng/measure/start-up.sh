#!/bin/bash
# Compares this engine with the program espeak-ng on the same texts, process start included.
#
#   measure/start-up.sh PATH-TO-ka-espeak-ng [RUNS]      (default: 31)
#
# Both save each text as a .wav file, in alternating runs. Prints for each text its length, the
# seconds of sound, the median of both programs in milliseconds, and their ratio; below 1 this
# engine is the faster one.

set -eu
export LC_ALL=C

ENGINE=${1:?path to ka-espeak-ng expected}
RUNS=${2:-31}
VOICE=de
GONG=$(dirname "$0")/../../../announcements/sounds/gong.wav
ORDINARY="Der Intercity Express 578 nach Hamburg Altona kommt heute um 14 Uhr 38 auf Gleis 12 an.\
 Bitte achten Sie auf die Anzeigen am Bahnsteig."

DIR=$(mktemp -d)
trap 'rm -rf "$DIR"' EXIT

# The ordinary announcement again and again, cut at this number of characters.
text_of_length() {
  local text=
  while ((${#text} < $1)); do text+="$ORDINARY "; done
  printf '%s' "${text:0:$1}"
}

# Milliseconds that a command takes, with three digits behind the point.
milliseconds() {
  local begin=${EPOCHREALTIME/[.,]/} end
  "$@"
  end=${EPOCHREALTIME/[.,]/}
  local microseconds=$((end - begin))
  printf '%d.%03d\n' $((microseconds / 1000)) $((microseconds % 1000))
}

theirs() { milliseconds espeak-ng -v "$VOICE" -f "$DIR/plain" -w "$DIR/a.wav" >> "$DIR/theirs"; }
ours() { milliseconds "$ENGINE" --voice "$VOICE" -- "$DIR/tagged" "$DIR/b.wav" >> "$DIR/ours"; }

median() { sort -n "$1" | sed -n "$(((RUNS + 1) / 2))p"; }

# measure NAME TEXT [TAGS]: for this engine tags stand before the text, espeak-ng gets it alone.
measure() {
  local run
  printf '%s' "$2" > "$DIR/plain"
  printf '%s' "${3:-}$2" > "$DIR/tagged"
  : > "$DIR/theirs"
  : > "$DIR/ours"
  for ((run = 0; run < RUNS; run++)); do
    if ((run % 2)); then theirs; ours; else ours; theirs; fi
  done
  awk -v name="$1" -v characters="${#2}" -v bytes="$(stat -c %s "$DIR/b.wav")" \
    -v theirs="$(median "$DIR/theirs")" -v ours="$(median "$DIR/ours")" 'BEGIN {
      printf "%-22s %10d %8.1f %12.2f %12.2f %6.2f\n",
        name, characters, (bytes - 44) / 44100, theirs, ours, ours / theirs }'
}

printf '%-22s %10s %8s %12s %12s %6s\n' text characters seconds espeak-ng ka-espeak-ng ratio
measure "one word" Achtung
measure "ordinary announcement" "$ORDINARY"
cp "$GONG" "$DIR/gong.wav"
measure "the same with a sound" "$ORDINARY" "\\audio(play=$DIR/gong.wav) "
measure "1,000 characters" "$(text_of_length 1000)"
measure "11,000 characters" "$(text_of_length 11000)"
