# Steps that several scripts have in common; sourced by them.
#
#   install_packages [PACKAGE...]   installs the packages that every build needs, and those given
#   install_test_packages [PACKAGE...]   the same, and what the tests of the tools hold these against
#   install_benchmark_packages      installs what benchmarks compare with, if it can be had
#   debian_sources                  prints this machine's sources of Debian 12, in lines of a sources.list
#   build PRESET [TARGET...]        configures and builds a preset, or targets of it
#   prepare_suite [PACKAGE...]      builds what tests of pytest need, which then find it, and installs packages for them
#   minutes_and_preset [N] [--preset PRESET]   sets minutes and preset, which have their defaults, from arguments
#   step TITLE COMMAND...           runs a command and says how long it took
#   quietly COMMAND...              runs a command and shows its output only if it fails
#   alive TEXT COMMAND...           runs a command that prints nothing, and shows its progress every two seconds
#   progress [TEXT]                 at a terminal, shows a text and the time since $begun, else since the script began,
#                                   on a line of standard error; the next call replaces it, one without a text erases it

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
    libdtl-dev libgtest-dev pkg-config dwarves "$@")
  local missing=() package
  for package in "${wanted[@]}"; do
    dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "installing ${missing[*]}"
  as_root true # here, sudo may ask for a password
  { # one after another, if several scripts run
    flock 9
    step "apt-get update" quietly as_root apt-get update -q
    step "apt-get install" quietly as_root env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y -q --no-install-recommends "${missing[@]}"
  } 9<"${BASH_SOURCE[0]}"
}

# What draws a picture, and what else pictures and the page need.
drawing_packages=(fonts-dejavu-core libcairo2-dev libfreetype-dev libjpeg62-turbo-dev)
picture_packages=("${drawing_packages[@]}" libavcodec-dev libavfilter-dev libavformat-dev libchafa-dev libmicrohttpd-dev
  libseccomp-dev libswscale-dev)

install_test_packages() {
  install_packages "${picture_packages[@]}" chromium chromium-driver tshark python3-jsonschema python3-pip python3-pytest \
    python3-pytest-xdist python3-selenium mypy zsh fish "$@"
}

install_benchmark_packages() {
  local package
  for package in libsystemd-dev ffmpeg gstreamer1.0-tools gstreamer1.0-plugins-base; do
    (install_packages "$package") || echo "$package cannot be installed; what it is compared with is left out" >&2
  done
}

debian_sources() {
  # shellcheck disable=SC2016 # of apt
  local format='deb $(REPO_URI) $(RELEASE) $(COMPONENT)'
  known() {
    apt-get indextargets --format "$format" 'Created-By: Packages' 'Origin: Debian' |
      grep -E ' bookworm(-updates|-security)? ' | LC_ALL=C sort -u
  }
  known || { quietly as_root apt-get update -q && known; }
}

build() {
  local preset=$1 targets=()
  shift
  [ $# -eq 0 ] || targets=(--target "$@")
  step "configuring $preset" quietly cmake --preset "$preset"
  step "building $preset" show_progress cmake --build --preset "$preset" --parallel "$(nproc)" "${targets[@]}"
}

prepare_suite() {
  install_packages python3-pytest python3-junitparser "$@"
  build dev vesk_video_interface vesk-video-service veskctl vesk_python
  export PATH=$PWD/build/dev/tools/veskctl:$PWD/build/dev/service:$PATH
  export PYTHONPATH=$PWD/build/dev/python VESK_VIDEO_LIBRARY=$PWD/build/dev/libvesk_video_interface.so
}

# shellcheck disable=SC2034 # minutes is used by those who source this
minutes_and_preset() {
  while [ $# -gt 0 ]; do
    case "$1" in
      --preset) preset=${2:?--preset needs a name}; shift ;;
      [1-9]*) minutes=$1 ;;
      *) echo "usage: $0 [MINUTES] [--preset PRESET]" >&2; exit 2 ;;
    esac
    shift
  done
}

# At a terminal, ninja shows on one line how far it is. Elsewhere a line does so every ten seconds.
show_progress() {
  if [ -t 1 ]; then
    "$@"
    return
  fi
  quietly tell_progress "$@" 3>&1
}

# Runs a build. Descriptor 3 gets the lines for people.
tell_progress() {
  "$@" 2>&1 | {
    local line='' last='' next=$((SECONDS + 10))
    while IFS= read -r -t 1 line || [ $? -gt 128 ]; do # nothing within a second
      [ -z "$line" ] || printf '%s\n' "$line"
      [[ $line != \[* ]] || last=$line
      if [ -z "$last" ] || [ $SECONDS -lt $next ]; then continue; fi
      echo "$last" >&3
      next=$((SECONDS + 10))
    done
  }
}

progress() {
  local passed=$((SECONDS - ${begun:-0}))
  [ -t 2 ] || return 0
  printf '\r\033[K' >&2
  [ $# -eq 0 ] || printf '%.60s, %02d:%02d' "$1" $((passed / 60)) $((passed % 60)) >&2
}

alive() {
  local text=$1 begun=$SECONDS ticker status=0
  shift
  if [ ! -t 2 ]; then
    "$@"
    return
  fi
  while sleep 2 &>/dev/null && kill -0 $$ 2>/dev/null; do progress "$text"; done &
  ticker=$!
  "$@" || status=$?
  kill $ticker
  wait $ticker 2>/dev/null || true
  progress
  return $status
}

step() {
  local title=$1 begun=$SECONDS
  shift
  "$@"
  echo "$title: $((SECONDS - begun)) s"
}

log_to() {
  local log=$1
  shift
  "$@" >"$log" 2>&1
}

quietly() {
  local log status=0
  log=$(mktemp)
  alive "${title:-$*}" log_to "$log" "$@" || status=$? # the title of the step that this is
  [ $status -eq 0 ] || cat "$log" >&2
  rm -f "$log"
  return $status
}
