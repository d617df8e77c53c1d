# Installs missing Debian packages; sourced by the other scripts.
#
#   install_packages [PACKAGE...]   installs the packages that every build needs, and those given
#   install_benchmark_packages      installs what benchmarks compare with, if it can be had

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    echo "not root and no sudo, cannot run: $*" >&2
    return 1
  fi
}

install_packages() {
  local wanted=(cmake ninja-build g++ libspdlog-dev libcli11-dev nlohmann-json3-dev libtomlplusplus-dev libedit-dev
    libgtest-dev pkg-config dwarves "$@")
  local missing=() package
  for package in "${wanted[@]}"; do
    dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "installing ${missing[*]}"
  quietly as_root apt-get update -q
  quietly as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
}

install_benchmark_packages() {
  (install_packages libsystemd-dev) || echo "libsystemd-dev cannot be installed; sd-bus is left out" >&2
}

# Runs a command and shows its output only if it fails.
quietly() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 || status=$?
  [ $status -eq 0 ] || cat "$log" >&2
  rm -f "$log"
  return $status
}
