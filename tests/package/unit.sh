# shellcheck shell=bash
# Reads a unit file of systemd and starts its program in a directory tree of its own (chroot), where
# no systemd runs: same user and groups, rights, directories, RAM disks, environment, umask, working
# directory, command lines. The unit's sandbox and its way to stop are not done here.
# To be sourced.

# unit_values FILE KEY: the values of all lines "KEY=...", one a line; an empty one forgets those
# before it.
unit_values() {
  awk -v key="$2" '
    /^[#;]/ { next }
    { whole = whole $0 }
    sub(/\\$/, " ", whole) { next }
    {
      if (index(whole, key "=") == 1) {
        value = substr(whole, length(key) + 2)
        if (value == "") count = 0; else values[++count] = value
      }
      whole = ""
    }
    END { for (i = 1; i <= count; i++) print values[i] }' "$1"
}

# unit_has FILE LINE: whether a line stands in the unit, whatever is around it.
unit_has() { grep -qxF -- "$2" "$1"; }

# mount_unit ROOT FILE: what a .mount unit mounts.
mount_unit() {
  local root=$1 file=$2 where
  where=$(unit_values "$file" Where)
  mkdir -p "$root$where"
  chroot "$root" mount -t "$(unit_values "$file" Type)" -o "$(unit_values "$file" Options)" \
    "$(unit_values "$file" What)" "$where"
}

# make_unit_directories ROOT UNIT: RuntimeDirectory and StateDirectory, for the unit's user.
make_unit_directories() {
  local root=$1 unit=$2 name owner
  owner=$(unit_values "$unit" User):$(unit_values "$unit" Group)
  for name in $(unit_values "$unit" RuntimeDirectory | sed 's|[^ ]*|run/&|g') \
    $(unit_values "$unit" StateDirectory | sed 's|[^ ]*|var/lib/&|g'); do
    mkdir -p "$root/$name"
    chroot "$root" chown "$owner" "/$name"
  done
}

# unit_conditions_hold ROOT UNIT
unit_conditions_hold() {
  local path
  for path in $(unit_values "$2" ConditionPathExists); do
    [[ -e $1$path ]] || return 1
  done
}

# enter_as_unit ROOT UNIT [NAME=VALUE...] -- COMMAND...: becomes the command, as the unit's user
# with its rights and environment, and with further variables.
enter_as_unit() {
  local root=$1 unit=$2 user group groups rights=()
  shift 2
  user=$(unit_values "$unit" User)
  group=$(unit_values "$unit" Group)
  groups=$(unit_values "$unit" SupplementaryGroups | tr ' ' ',')
  if unit_has "$unit" NoNewPrivileges=yes; then rights+=(--no-new-privs); fi
  if unit_has "$unit" CapabilityBoundingSet=; then rights+=(--bounding-set=-all); fi
  local environment=()
  mapfile -t environment < <(unit_values "$unit" Environment)
  while [[ $1 != -- ]]; do environment+=("$1") && shift; done
  shift
  umask "$(unit_values "$unit" UMask | grep . || echo 0022)"
  exec chroot "$root" setpriv --reuid="$user" --regid="$group" --groups="$group,$groups" \
    --inh-caps=-all "${rights[@]}" \
    env -i -C "$(unit_values "$unit" WorkingDirectory)" LANG=C.UTF-8 USER="$user" LOGNAME="$user" \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin "${environment[@]}" "$@"
}

# run_unit ROOT UNIT [NAME=VALUE...]: becomes the unit's program, after what comes before it. A "-"
# before a command line says that its failure does not matter.
run_unit() {
  local root=$1 unit=$2 line words
  shift 2
  unit_conditions_hold "$root" "$unit" || return 1
  make_unit_directories "$root" "$unit"
  while read -r line; do
    read -ra words <<<"${line#-}"
    (enter_as_unit "$root" "$unit" "$@" -- "${words[@]}") </dev/null ||
      [[ $line == -* ]] || return 1
  done < <(unit_values "$unit" ExecStartPre)
  read -ra words < <(unit_values "$unit" ExecStart)
  enter_as_unit "$root" "$unit" "$@" -- "${words[@]}"
}
