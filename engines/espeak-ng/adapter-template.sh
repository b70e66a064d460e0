#!/bin/sh
# Adapter template: makes any command-line synthesiser an engine of the server.
#
#   adapter.sh [--voice NAME] [--discard-on-failure] -- TEXT               speak
#   adapter.sh [--voice NAME] [--discard-on-failure] -- TEXTFILE WAVFILE   save
#
# Exit status: 0 done, 1 failed, 2 wrong usage, 3 the player was stopped.
#
# To use it: copy it to <rootDir>/<engineName>/, replace the function synthesise below, and name the
# copy in the keys speakout<engineName> and savespeech<engineName>, each ending in "--". README.md
# beside this file explains the contract that is kept here. As it stands, it drives the program
# espeak-ng, so that it can be tried out.

set -u
NAME=${0##*/}

fail() {
  echo "$NAME: error: $1" >&2
  exit "${2:-1}"
}

# CHANGE THIS: synthesise VOICE TEXTFILE WAVFILE writes the sound of a text as a .wav file. It must
# fail (status other than 0) if there is no sound, and must not take longer than $LIMIT seconds.
LIMIT=20
synthesise() {
  timeout "$LIMIT" espeak-ng -v "$1" -f "$2" -w "$3"
}

# CHANGE THIS: the texts hold tags, at least \audio(play=FILE.wav) for the sounds and prepared
# phrases of the announcement document. A synthesiser that knows the tags, under these names or
# others, gets them translated here; this one drops every tag and every other backslash. Control
# characters are dropped as well, line ends become blanks.
clean() {
  tr '\n\t\r' '   ' | tr -d '\000-\037\177' |
    sed -e 's/\\[A-Za-df-z][A-Za-z]*([^)]*)//g' -e 's/\\//g'
}

VOICE=en
DISCARD=no
while [ $# -gt 0 ]; do
  case $1 in
    --voice) [ $# -ge 2 ] || fail "--voice needs a name" 2; VOICE=$2; shift 2 ;;
    --discard-on-failure) DISCARD=yes; shift ;;
    --) shift; break ;;           # everything behind it is text, "-5 Grad" included
    -?*) fail "unknown option '$1'" 2 ;;
    *) break ;;
  esac
done

# All intermediate files are in one directory, which goes whenever the script ends, also by a
# signal. For saving it lies beside the .wav file: only within a file system does mv rename, and
# only renaming keeps readers from seeing half a file.
WORK=
PLAYER=
cleanup() {
  [ -z "$PLAYER" ] || kill -9 "$PLAYER" 2>/dev/null
  [ -z "$WORK" ] || rm -rf "$WORK"
}
trap cleanup EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM

# The player's death, by which "!stop" ends a text, has to end the engine. The shell hears of it
# because it waits for nothing else.
speak() {
  WORK=$(mktemp -d) || fail "no temporary directory"
  printf '%s' "$1" | clean > "$WORK/text" || fail "cannot write the text"
  synthesise "$VOICE" "$WORK/text" "$WORK/sound.wav" || fail "the synthesiser failed"
  aplay -q "$WORK/sound.wav" &
  PLAYER=$!
  wait "$PLAYER"
  status=$?
  PLAYER=
  [ "$status" -le 128 ] || fail "the player aplay was stopped" 3
  [ "$status" -eq 0 ] || fail "the player aplay failed with status $status"
}

# On failure the old .wav would be played as if it were this announcement, and the server would not
# send the same text again while its copy of it (which has no .txt ending) is there.
discard() {
  [ "$DISCARD" = yes ] || return 0
  [ ! -f "$2" ] || rm -f "$2"
  case $1 in
    *.txt) ;;
    *) [ ! -f "$1" ] || rm -f "$1" ;;
  esac
}

save() {
  [ -f "$1" ] || return 1
  case $2 in
    */*) WORK=$(mktemp -d "${2%/*}/.adapter.XXXXXX") ;;
    *) WORK=$(mktemp -d ./.adapter.XXXXXX) ;;
  esac || return 1
  clean < "$1" > "$WORK/text" || return 1
  synthesise "$VOICE" "$WORK/text" "$WORK/sound.wav" || return 1
  [ -s "$WORK/sound.wav" ] && [ ! -d "$2" ] && mv -f "$WORK/sound.wav" "$2"
}

case $# in
  1) speak "$1" ;;
  2)
    # A signal during saving is a failure as well.
    trap 'discard "$1" "$2"; exit 143' TERM INT HUP
    save "$1" "$2" || {
      discard "$1" "$2"
      fail "cannot save '$1' as '$2'"
    }
    ;;
  *) fail "a text, or a text file and a .wav file expected" 2 ;;
esac
