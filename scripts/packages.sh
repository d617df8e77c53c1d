# Installs the Debian packages that the tree needs and that are missing; sourced by the other scripts.
#
#   install_packages [PACKAGE...]   the packages of every build, and those named besides

install_packages() {
  local wanted=(cmake ninja-build g++ libspdlog-dev libcli11-dev libgtest-dev libbenchmark-dev "$@")
  local missing=() package
  for package in "${wanted[@]}"; do
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "installing ${missing[*]}"
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "not root and no sudo: please install ${missing[*]}" >&2
      return 1
    fi
    as_root=(sudo)
  fi
  local log
  log=$(mktemp)
  if ! { "${as_root[@]}" apt-get update -q && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
         apt-get install -y -q --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    return 1
  fi
  rm -f "$log"
}

# Runs a command quietly; shows what it wrote only when it fails.
quietly() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 || status=$?
  [ $status -eq 0 ] || cat "$log" >&2
  rm -f "$log"
  return $status
}
