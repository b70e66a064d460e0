#!/bin/bash
# Compares this engine with the program espeak-ng on the same text, process start included.
#
#   measure/start-up.sh PATH-TO-ka-espeak-ng [RUNS] [TEXT]
#
# Both save the text as a .wav file, in alternating runs. Prints both medians, in milliseconds, and
# their ratio; below 1 this engine is the faster one.

set -eu

ENGINE=${1:?path to ka-espeak-ng expected}
RUNS=${2:-100}
TEXT=${3:-Der Intercity Express 578 nach Hamburg Altona fährt heute abweichend von Gleis zwölf.}
VOICE=de

DIR=$(mktemp -d)
trap 'rm -rf "$DIR"' EXIT
printf '%s' "$TEXT" > "$DIR/text"

# Milliseconds that a command takes, with three digits behind the point.
milliseconds() {
  local begin=${EPOCHREALTIME/[.,]/} end
  "$@"
  end=${EPOCHREALTIME/[.,]/}
  local microseconds=$((end - begin))
  printf '%d.%03d\n' $((microseconds / 1000)) $((microseconds % 1000))
}

median() { sort -n "$1" | sed -n "$(((RUNS + 1) / 2))p"; }

for ((run = 0; run < RUNS; run++)); do
  milliseconds espeak-ng -v "$VOICE" -f "$DIR/text" -w "$DIR/a.wav" >> "$DIR/theirs"
  milliseconds "$ENGINE" --voice "$VOICE" -- "$DIR/text" "$DIR/b.wav" >> "$DIR/ours"
done

THEIRS=$(median "$DIR/theirs")
OURS=$(median "$DIR/ours")
echo "espeak-ng -w    $THEIRS ms"
echo "ka-espeak-ng    $OURS ms"
echo "ratio           $(awk "BEGIN { printf \"%.2f\", $OURS / $THEIRS }")"
