#!/usr/bin/env bash
# Installs a build into a temporary directory and looks at what is there.
#
#   tests/package/install_test.sh TEST BUILD_DIR     (TEST is one of the functions below)
set -euo pipefail
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)
. "$project/scripts/lib.sh"
. "$project/tests/package/unit.sh"

build=$2
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
export DESTDIR=$tree

# install_build [OPTION...]
install_build() {
  local log
  log=$(cmake --install "$build" --strip --prefix /usr "$@" 2>&1) || fail "$log"
}

# same TEXT TEXT: expected and found.
same() {
  diff <(printf '%s\n' "$1") <(printf '%s\n' "$2") || fail "expected (<) and found (>) differ"
}

installed_files() {
  (cd "$tree" && find . -type f -printf '/%P\n' -o -type l -printf '/%P -> %l\n') | LC_ALL=C sort
}

# The files that there is one of per file of the source.
files_by_source() {
  local file name section
  cd "$project"
  for file in lexidata/*/* announcements/blocks/*; do
    say "/etc/ka-tts-server/$file"
  done
  for file in docs/*.md; do
    say "/usr/share/doc/ka-tts-server/$file"
  done
  for file in man/*/*.in; do
    [[ -e $file ]] || continue
    name=${file##*/} && name=${name%.in} && section=${name##*.}
    case $file in
      man/en/*) say "/usr/share/man/man$section/$name" ;;
      man/de/*) say "/usr/share/man/de/man$section/$name" ;;
    esac
  done
  if [[ -d tools/man ]]; then
    say /usr/share/bash-completion/completions/ka-tts
    say /usr/share/zsh/vendor-completions/_ka-tts
  fi
  if [[ -e clients/python/ka_tts.py ]]; then say /usr/lib/python3/dist-packages/ka_tts.py; fi
}

InstallsExactlyTheseFiles() {
  install_build
  same "$({ cat "$project/tests/package/files" && files_by_source; } | LC_ALL=C sort)" \
    "$(installed_files)"
}

# resolved LINK: what it leads to when the temporary directory is the root.
resolved() {
  case $(readlink "$1") in
    /*) printf '%s%s\n' "$tree" "$(readlink "$1")" ;;
    *) printf '%s/%s\n' "$(dirname "$1")" "$(readlink "$1")" ;;
  esac
}

# /run is empty until the service starts.
AllLinksLeadSomewhere() {
  local link count=0
  install_build
  while read -r link; do
    count=$((count + 1))
    [[ $link == */run || -e $(resolved "$link") ]] || fail "${link#"$tree"} leads nowhere"
  done < <(find "$tree" -type l)
  ((count >= 10)) || fail "there are only $count links"
}

NoBuildPathInInstalledFiles() {
  install_build
  same "" "$(grep -rlF -e "$build" -e "$project" -e "$tree" "$tree" || true)"
}

ConfigurationNamesInstalledFiles() {
  local config=/etc/ka-tts-server/kaTtsServer.kacfg key value
  install_build
  ! grep -n '@' "$tree$config" || fail "a placeholder is left"
  while read -r key value; do
    same "$value" "$(config_value "$tree$config" "$key")"
  done <<'VALUES'
rootDir /usr/lib/ka-tts-server/engines/
speechformat /usr/lib/ka-tts-server/announcements/station.xml
nonvoicesounds /usr/lib/ka-tts-server/announcements/sounds
steadyspeeches /usr/lib/ka-tts-server/state/steady
storetempram /run/ka-tts-server/store
playtempram /run/ka-tts-server/play
reginputport 5701
rblinputport 5702
cmdinputport 5703
VALUES
  value=$(config_value "$tree$config" savespeechespeak-ng)
  [[ -x $tree${value%% *} ]] || fail "$value is no program"
  for key in de en; do
    [[ -d $tree/var/lib/ka-tts-server/steady/$key ]] || fail "no directory for phrases in $key"
  done
}

# By the link in bin, as users call it. A prefix of the real root lets absolute links hold.
ProgramFindsItsStation() {
  local blocks=$tree/etc/ka-tts-server/announcements/blocks
  DESTDIR='' cmake --install "$build" --prefix "$tree" >/dev/null
  "$tree/bin/ka-tts" preview --lang de "$blocks/departure-on-time.xml" | grep -q ' nach ' ||
    fail "no text was made"
}

ChangedConfigurationSurvivesAnotherInstall() {
  local config=$tree/etc/ka-tts-server/kaTtsServer.kacfg
  local lexicon=$tree/etc/ka-tts-server/lexidata/de/minutes
  install_build
  sed -i 's/^TimeoutCache=.*/TimeoutCache="900"/' "$config"
  rm "$lexicon"
  install_build
  grep -q '^TimeoutCache="900"' "$config" || fail "the change is lost"
  [[ -e $lexicon ]] || fail "what was missing is not there again"
}

OtherPrefixKeepsEverythingBelowIt() {
  install_build --prefix /opt/station
  same /opt "$(cd "$tree" && printf '/%s\n' *)"
  same "" "$(grep -rlE '"/(usr/lib|etc|var)/' "$tree/opt/station/etc" || true)"
  same "/opt/station/lib/ka-tts-server/ka-tts-server" \
    "$(unit_values "$tree/opt/station/lib/systemd/system/ka-tts-server.service" ExecStart)"
}

DemoIsAComponentOfItsOwn() {
  install_build --component server
  same "" "$(installed_files | grep -E '/announcements/|-demo/' || true)"
  rm -rf "${tree:?}"/*
  install_build --component demo
  same "" "$(installed_files | grep -vE '/announcements/' || true)"
}

BuildDependsNamesAllPackagesOfTheBuild() {
  local set name
  set=$("$project/scripts/install-deps" --list build)
  for name in $set; do
    [[ $name == g++ ]] || grep -qE "^(Build-Depends:)? +${name//+/\\+}( \(.*\))?,$" \
      "$project/debian/control" || fail "debian/control lacks $name, which scripts/install-deps has"
  done
}

UnitReaderJoinsContinuedLines() {
  printf '%s\n' '[Service]' '#A=0' 'A=1 @' '2' 'AB=no' 'A=3' | tr @ "\\\\" >"$tree/unit"
  same $'1  2\n3' "$(unit_values "$tree/unit" A)"
}

UnitReaderForgetsBeforeAnEmptyValue() {
  printf '%s\n' 'A=1' 'A=' 'A=2' >"$tree/unit"
  same 2 "$(unit_values "$tree/unit" A)"
}

"$1"
