# Shared by the commands: where things are, what a machine must have, how a preset is built.
# Sourced, never run. Standard output is left to the caller: the server speaks on it.
# shellcheck shell=bash

set -euo pipefail
cd "$(dirname "$(dirname "$(realpath "${BASH_SOURCE[0]}")")")"

# Where our C++ lies.
cpp_folders=(MCPStdio velmiro_mcp approval_host examples support demo tests bench)
# shellcheck disable=SC2034 # for those who source this
end_to_end=tests/end_to_end
osascript=osascript
# shellcheck disable=SC2034
zig=cmake/macos
# shellcheck disable=SC2034
typescript_peer=bench/peers/typescript_sdk
# shellcheck disable=SC2034
draw=bench/draw

say() { printf '%s\n' "$*" >&2; }
die() {
    say "$(basename "$0"): $*"
    exit 1
}

# What each purpose needs, by the names Debian 12 gives. Its versions are the ones we support:
# g++ 12.2, cmake 3.25, libical 3.0.16, ICU 72.1; clang 19.1 for sanitizers and lint, LLVM 19.1 for
# macOS; khal 0.10.5, todoman 4.1.0, khard 0.18.0; Node.js 18.
packages_for() {
    # The libraries that the server loads as it runs come with their headers.
    local build='g++ cmake ninja-build pkg-config libical-dev libicu-dev tzdata'
    local clang='clang-19 libclang-rt-19-dev'
    local run="$build nodejs npm ca-certificates"
    local test="$run $clang libgtest-dev libgmock-dev khal todoman khard mutt notmuch python3 python3-dateutil strace"
    test+=' bsdutils libgnustep-base-dev libobjc-12-dev libblocksruntime-dev'
    local lint="$run $clang clang-format-19 clang-tidy-19 libgtest-dev libgmock-dev shellcheck"
    local macos="$run clang-19 llvm-19 file"
    local bench="$run nlohmann-json3-dev rapidjson-dev libsimdjson-dev khal todoman khard notmuch"
    case $1 in
    build | run | test | lint | macos | bench) echo "${!1}" ;;
    all) echo "$test $lint $macos $bench" ;;
    *) die "unknown purpose '$1': build, run, test, lint, macos, bench or all" ;;
    esac
}

# Those of the packages given that are not installed. Node.js counts wherever it came from.
missing_packages() {
    local installed package
    installed=$(dpkg-query -W -f '${db:Status-Abbrev}${Package}\n' "$@" 2>/dev/null || true)
    for package in "$@"; do
        case $package in
        nodejs) ! command -v node >/dev/null || continue ;;
        npm) ! command -v npm >/dev/null || continue ;;
        esac
        [[ $'\n'$installed$'\n' == *$'\nii '$package$'\n'* ]] || echo "$package"
    done
}

as_root() {
    if [[ $(id -u) == 0 ]]; then
        env DEBIAN_FRONTEND=noninteractive "$@"
    else
        sudo -n env DEBIAN_FRONTEND=noninteractive "$@"
    fi
}

# Installs what is missing for a purpose; does nothing, in milliseconds, when nothing is.
install_for() {
    local -a wanted missing
    local log
    read -ra wanted <<<"$(packages_for "$1")"
    ((${#wanted[@]} > 0)) || exit 1 # packages_for has said why
    command -v dpkg-query >/dev/null || die "needs Debian's packages: ${wanted[*]}"
    mapfile -t missing < <(missing_packages "${wanted[@]}" | sort -u)
    ((${#missing[@]} > 0)) || return 0
    if [[ $(id -u) != 0 ]] && ! sudo -n true 2>/dev/null; then
        die "missing and not installed, as neither root nor sudo without a password is here:" \
            "apt-get install ${missing[*]}"
    fi
    say "installing ${missing[*]}"
    log=$(mktemp)
    if ! as_root apt-get update -qq >"$log" 2>&1 </dev/null ||
        ! as_root apt-get install -qq --yes --no-install-recommends \
            -o DPkg::Lock::Timeout=300 "${missing[@]}" >>"$log" 2>&1 </dev/null; then
        tail -n 5 "$log" >&2
        rm -f "$log"
        die "could not install ${missing[*]} (is the network there?)"
    fi
    rm -f "$log"
}

# Configures a preset when its settings changed, and builds what is not up to date. One at a time
# for each preset: two hosts may start the server in the same moment.
configure_preset() {
    local output
    if [[ ! -e build/$1/build.ninja || CMakePresets.json -nt build/$1/.configured ]]; then
        output=$(cmake --preset "$1" 2>&1) || die "$output"
        touch "build/$1/.configured"
    fi
}
build_preset() {
    local quiet=--quiet preset=$1
    local -a targets=("${@:2}")
    ((${#targets[@]} == 0)) || targets=(--target "${targets[@]}")
    mkdir -p build
    if [[ ! -e build/$preset/.configured ]]; then
        say "building $preset"
        [[ ! -t 2 ]] || quiet= # the first build takes a while: show how far it is
    fi
    (
        flock 9
        configure_preset "$preset"
        if [[ -n $quiet ]]; then
            cmake --build "build/$preset" "${targets[@]}" -- $quiet 2>&1 | { grep -v '^-- \|^ninja: no work to do' || true; }
        else
            cmake --build "build/$preset" "${targets[@]}"
        fi >&2
    ) 9>"build/$preset.lock" </dev/null
}

# What a folder takes from npm, once for each state of its lock file: install_npm_packages FOLDER
# [production]. No install hooks: nothing here needs one.
install_npm_packages() {
    local folder=$1 which=${2:-all} state
    local -a options=(--ignore-scripts --no-audit --no-fund --loglevel=error)
    state=$folder/node_modules/.installed-$(sha256sum <"$folder/package-lock.json" | cut -c1-16)
    [[ ! -e $state-all && ! -e $state-$which ]] || return 0
    [[ $which == all ]] || options+=(--omit=dev)
    say "installing the packages of $folder"
    # npm looks at the folder it runs in, and warns of the machine's Node.js being too old.
    (cd "$folder" && npm ci "${options[@]}") >&2 </dev/null || die "npm ci failed in $folder"
    touch "$state-$which"
}

# What running the server takes: the release build, and what its scripts run on.
prepare_release() {
    build_preset release
    install_npm_packages $osascript production
}

# Every C++ and Objective-C++ file of ours, one a line.
cpp_files() {
    local folder
    for folder in "${cpp_folders[@]}"; do
        [[ ! -d $folder ]] || find "$folder" -name node_modules -prune -o \
            \( -name '*.cpp' -o -name '*.hpp' -o -name '*.mm' -o -name '*.h' \) -type f -print
    done | sort
}
