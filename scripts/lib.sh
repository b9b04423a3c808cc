# What ./run, ./test and the scripts share. Sourced, with the project's root as working folder.

say() { printf '\n== %s\n' "$*" >&2; }
die() { printf '%s: %s\n' "${0##*/}" "$*" >&2; exit 1; }

as_root() {
  if [ "$(id -u)" = 0 ]; then
    "$@"
  else
    command -v sudo >/dev/null || die "run as root, or have somebody run: $*"
    sudo "$@"
  fi
}

# need_packages FILE...: installs those of the listed Debian packages that are missing.
need_packages() {
  local wanted missing=() name
  wanted=$(sed -e 's/#.*//' -e '/^[[:space:]]*$/d' "$@")
  for name in $wanted; do
    dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q 'ok installed' || missing+=("$name")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  command -v apt-get >/dev/null || die "these packages are missing and there is no apt-get to install them: ${missing[*]}"
  say "Installing ${#missing[@]} packages: ${missing[*]}"
  as_root apt-get update -q >&2 || die "apt-get update failed"
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" >&2 ||
    die "these packages could not be installed: ${missing[*]}"
}

# need_phone_packages: the cross tools, and the package lists of the phone's kind of processor.
need_phone_packages() {
  need_packages wince/packages.txt
  if ! dpkg --print-foreign-architectures | grep -qx armel; then
    say "Adding the package lists for armel"
    as_root dpkg --add-architecture armel
    as_root apt-get update -q >&2 || die "apt-get update failed"
  fi
}

# build PRESET [-DNAME=VALUE...] [TARGET...]: configures when needed and builds.
build() {
  local preset=$1 options=()
  shift
  while [ $# -gt 0 ] && [ "${1#-D}" != "$1" ]; do
    options+=("$1")
    shift
  done
  say "Building ($preset)"
  cmake --preset "$preset" "${options[@]}" >"build/$preset.configure.log" 2>&1 || { cat "build/$preset.configure.log" >&2; die "configuring $preset failed"; }
  cmake --build "build/$preset" ${*:+--target "$@"} >&2 || die "building $preset failed"
}

# build_phone TARGET...: the phone's own library and what belongs to it, with the files for a phone in build/phone.
build_phone() {
  need_phone_packages
  build release -DBRELIX_PHONE=ON "-DBRELIX_PHONE_DIR=$PWD/build/phone" "$@"
}
