# shellcheck shell=bash
# Functions that several scripts share. To be sourced, not run: it sets `root`, the directory of the
# project, and nothing else.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

say() { printf '%s\n' "$*"; }

fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# The comment at the top of the calling script, without its "#": its --help.
usage() { awk 'NR > 1 && !/^#/ { exit } NR > 1 { sub(/^# ?/, ""); print }' "$0"; }

parallel_jobs() { printf '%s\n' "${KA_JOBS:-$(nproc)}"; }

# build_preset PRESET TESTS [TARGET...]: configures build/PRESET, with tests or not (ON or OFF), and
# builds the targets, or everything.
build_preset() {
  local preset=$1 tests=$2 log
  shift 2
  say "Building ($preset) in build/$preset ..."
  # KA_BUILD_TOOLS overrides the preset's choice, e.g. OFF to save the time that they take.
  if ! log=$(cd "$root" && cmake --preset "$preset" -DKA_BUILD_TESTS="$tests" \
    ${KA_BUILD_TOOLS:+-DKA_BUILD_TOOLS="$KA_BUILD_TOOLS"} 2>&1); then
    say "$log" >&2
    fail "cmake cannot configure the preset \"$preset\""
  fi
  cmake --build "$root/build/$preset" --parallel "$(parallel_jobs)" ${@:+--target "$@"}
}

# refuse_unquotable DIR: ends the script if the name cannot stand unquoted in a shell command.
refuse_unquotable() {
  local LC_ALL=C
  case $1 in
    *[!A-Za-z0-9/._+,:@$'\x80'-$'\xff'-]*)
      fail "the directory \"$1\" has blanks or shell characters in its name. The server puts the" \
        "names of its directories unquoted into shell commands (cd, cp, rm, find, aplay): choose" \
        "a directory whose whole path has only letters, digits and / . _ + , : @ -"
      ;;
  esac
}

# config_value FILE KEY: the value of the first row that assigns one to KEY; empty if none does.
config_value() {
  sed -n "s/^[[:space:]]*$2=[^\"']*[\"']\(.*\)[\"'].*/\1/p" "$1" | head -n 1
}

# config_path STAGE KEY: the same as a path; relative ones stand below the server's directory.
config_path() {
  local value
  value=$(config_value "$1/kaconfig/kaTtsServer.kacfg" "$2")
  case $value in
    "" | /*) printf '%s\n' "$value" ;;
    *) printf '%s/%s\n' "$1" "${value#./}" ;;
  esac
}

# server_port STAGE KEY: the port that the server opens; it takes 50000 in place of one it refuses.
server_port() {
  local port
  port=$(config_value "$1/kaconfig/kaTtsServer.kacfg" "$2")
  if [[ ! $port =~ ^[0-9]{1,9}$ ]] || ((10#$port < 1 || 10#$port > 65534)); then port=50000; fi
  printf '%d\n' "$((10#$port))"
}

# ports_in_words STAGE
ports_in_words() {
  printf 'text port %s, data port %s, command port %s\n' "$(server_port "$1" reginputport)" \
    "$(server_port "$1" rblinputport)" "$(server_port "$1" cmdinputport)"
}

# document_languages FILE: the names of the languages of an announcement document, one a line.
# "all" is none: it lends its elements to the others.
document_languages() {
  tr '\n' ' ' <"$1" | grep -o '<Language[[:space:]][^>]*>' |
    sed -n "s/.*[[:space:]]name=[\"']\([^\"']*\)[\"'].*/\1/p" | sort -u | grep -vx all
}

# make_run_directories STAGE: the directories that the server writes to and does not create itself.
make_run_directories() {
  local stage=$1 key directory document steady language
  for key in storetempram playtempram; do
    directory=$(config_path "$stage" "$key")
    [[ -z $directory ]] || mkdir -p "$directory"
  done
  document=$(config_path "$stage" speechformat)
  steady=$(config_path "$stage" steadyspeeches)
  [[ -f $document && -n $steady ]] || return 0
  document_languages "$document" | while read -r language; do
    mkdir -p "$steady/$language"
  done
}

# listening PORT: whether any process has the TCP port open. It looks without connecting: to a
# server a connection would be a message.
listening() {
  local hex
  printf -v hex '%04X' "$1"
  cat /proc/net/tcp /proc/net/tcp6 2>/dev/null |
    awk -v port=":$hex\$" '$4 == "0A" && $2 ~ port { found = 1 } END { exit !found }'
}

# free_ports N: N different ports that nobody has open, below those that the kernel gives out.
free_ports() {
  local wanted=$1 port ports=" "
  while ((wanted > 0)); do
    port=$((20000 + RANDOM % 10000))
    if [[ $ports != *" $port "* ]] && ! listening "$port"; then
      ports+="$port "
      wanted=$((wanted - 1))
    fi
  done
  # shellcheck disable=SC2086
  printf '%s\n' $ports
}

# wav_number FILE OFFSET: the little-endian 32-bit number at an offset.
wav_number() { od -An -tu4 --endian=little -j "$2" -N 4 "$1" | tr -d ' '; }

# wav_milliseconds FILE: length of a .wav file with the plain header of 44 bytes.
wav_milliseconds() {
  local rate size
  rate=$(wav_number "$1" 28)
  size=$(($(stat -c %s "$1") - 44))
  ((rate > 0 && size > 0)) || { printf '0\n'; return; }
  printf '%s\n' $((size * 1000 / rate))
}

# seconds MILLISECONDS: as a decimal number of seconds.
seconds() { printf '%d.%02d' $(($1 / 1000)) $(($1 % 1000 / 10)); }
