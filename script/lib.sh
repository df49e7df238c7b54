# What the commands share: where things are, what a machine must have, how a preset is built.
# Sourced, never run. Standard output belongs to the caller, because the server speaks on it.
# shellcheck shell=bash

set -euo pipefail
cd "$(dirname "$(dirname "$(realpath "${BASH_SOURCE[0]}")")")"

# What a machine can be prepared for.
purposes=(build bench package test unit process end_to_end windows gnustep sanitizers macos lint all)

# The folders of our C++.
cpp_folders=(MCPStdio velmiro_mcp osascript approval_host doctor examples support demo tests bench)

say() { printf '%s\n' "$*" >&2; }
die() {
    say "$(basename "$0"): $*"
    exit 1
}

# What each purpose needs, by the names of Debian 12, whose versions are the oldest supported:
# g++ 12.2, cmake 3.25, libical 3.0.16, ICU 72.1; clang 19.1 for sanitizers and lint, LLVM 19.1 for
# macOS; khal 0.10.5, todoman 4.1.0, khard 0.18.0; Node.js 18.
packages_for() {
    # The libraries that the server loads at run time are installed with their headers.
    local libraries='libical-dev libicu-dev libjavascriptcoregtk-4.1-dev libgmime-3.0-dev'
    libraries+=' libgumbo-dev'
    local build="g++ cmake ninja-build pkg-config tzdata $libraries"
    local package="$build binutils dpkg-dev file gzip python3"
    local npm='nodejs npm ca-certificates'
    local unit="$build libgtest-dev libgmock-dev python3 python3-dateutil"
    local process="$unit strace bsdutils patch valgrind"
    local end_to_end="$process $npm khal todoman khard mutt notmuch"
    # What the pages of docs/linux/ are about, and the servers on the network that they speak of.
    end_to_end+=' vdirsyncer isync radicale'
    # Under systemd this one would serve mail from then on; without it, its test is skipped.
    [[ -d /run/systemd/system ]] || end_to_end+=' dovecot-imapd'
    local windows="$unit zenity kdialog xvfb xdotool"
    local clang='clang-19 libclang-rt-19-dev'
    local sanitizers="$unit $clang ccache"
    local gnustep="$process $clang ccache libgnustep-base-dev libobjc-12-dev libblocksruntime-dev"
    local macos="$build $npm python3 clang-19 llvm-19 file libgtest-dev"
    # Apple's processors are ARM's: a compiler and an emulator for those.
    [[ $HOSTTYPE != x86_64 ]] || macos+=' g++-aarch64-linux-gnu qemu-user'
    local lint="$unit $npm $clang clang-format-19 clang-tidy-19 shellcheck doxygen"
    local bench="$build $npm nlohmann-json3-dev rapidjson-dev libsimdjson-dev khal todoman khard notmuch"
    case $1 in
    build | package | unit | process | end_to_end | windows | sanitizers | gnustep | macos | lint | bench) echo "${!1}" ;;
    test) echo "$end_to_end" ;;
    all) echo "$end_to_end $windows $sanitizers $gnustep $macos $lint $bench $package" ;;
    *) die "unknown purpose '$1': ${purposes[*]}" ;;
    esac
}

# The folders that each purpose needs packages from npm for. After a colon: all of them, or what is
# needed to run; after another, about how many megabytes they take.
npm_folders_for() {
    local types=tests/types:all:26 peer=bench/peers/typescript_sdk draw=bench/draw
    local end_to_end=tests/end_to_end:all:344 macos=cmake/macos:all:355
    case $1 in
    test | end_to_end) echo $end_to_end ;;
    macos) echo $macos ;;
    lint) echo $types $peer:all:29 $draw:all:25 ;;
    bench) echo $peer:production:29 $draw:production:25 ;;
    all) echo $types $end_to_end $macos $peer:all:29 $draw:all:25 ;;
    esac
}

# Prints those of the packages that are not installed. Node.js counts wherever it came from.
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

# Runs a command as root. If somebody is there to type it, sudo may ask for a password.
as_root() {
    local -a sudo=()
    if [[ $(id -u) != 0 ]]; then
        sudo=(sudo)
        [[ -t 0 ]] || sudo+=(-n)
    fi
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive "$@" </dev/null
}

# Shows what a command prints on a terminal. Elsewhere, shows its last lines if it fails.
with_progress() {
    local log status=0
    if [[ -t 2 ]]; then
        "$@" >&2
        return
    fi
    log=$(mktemp)
    "$@" >"$log" 2>&1 || {
        status=$?
        tail -n 5 "$log" >&2
    }
    rm -f "$log"
    return $status
}

# Installs what a purpose needs; takes milliseconds if nothing is missing.
install_for() {
    local entry folder which megabytes
    install_packages_for "$1"
    for entry in $(npm_folders_for "$1"); do
        IFS=: read -r folder which megabytes <<<"$entry"
        install_npm_packages "$folder" "$which" "$megabytes"
    done
}

install_packages_for() {
    local -a wanted missing quiet=(-qq)
    local size command
    read -ra wanted <<<"$(packages_for "$1")"
    ((${#wanted[@]} > 0)) || exit 1 # packages_for has said why
    command -v dpkg-query >/dev/null || die "needs Debian's packages: ${wanted[*]}"
    mapfile -t missing < <(missing_packages "${wanted[@]}" | sort -u)
    ((${#missing[@]} > 0)) || return 0
    command="apt-get install ${missing[*]}"
    if [[ $(id -u) != 0 ]]; then
        command -v sudo >/dev/null || die "packages are missing, and sudo is not here. As root: $command"
        [[ -t 0 ]] || sudo -n true 2>/dev/null ||
            die "packages are missing, and nobody is here to type the password of sudo." \
                "In a terminal: sudo $command"
    fi
    say "packages to be installed: ${missing[*]}"
    size=$(size_of_installation "${missing[@]}")
    [[ -z $size ]] || say "$size"
    [[ ! -t 2 ]] || quiet=()
    with_progress as_root apt-get update "${quiet[@]}" || die "apt-get update failed (is the network there?)"
    if [[ -z $size ]]; then # a fresh system knows no packages before
        size=$(size_of_installation "${missing[@]}")
        [[ -z $size ]] || say "$size"
    fi
    with_progress as_root apt-get install "${quiet[@]}" --yes --no-install-recommends \
        -o DPkg::Lock::Timeout=300 "${missing[@]}" ||
        die "could not install ${missing[*]} (is the network there?)"
}

# Says how much apt would install for these packages; nothing if it does not know them.
size_of_installation() {
    local -a all
    mapfile -t all < <(apt-get install --simulate --no-install-recommends "$@" 2>/dev/null </dev/null |
        awk '$1 == "Inst" { print $2 }')
    ((${#all[@]} > 0)) || return 0
    apt-cache show --no-all-versions "${all[@]}" 2>/dev/null | awk -v count=${#all[@]} '
        $1 == "Size:" { download += $2 / 1e6 }
        $1 == "Installed-Size:" { disk += $2 * 1024 / 1e6 }
        END { printf "with what they need: %d packages, about %.0f MB to download and %.0f MB on disk",
                  count, download, disk }' || true
}

# Configures a preset if its settings changed, and builds what is out of date. A lock for each preset,
# because two hosts may start the server at the same moment.
configure_preset() {
    local output
    mkdir -p build
    (
        flock 9
        [[ ! -e build/$1/build.ninja || CMakePresets.json -nt build/$1/.configured ]] || exit 0
        output=$(cmake --preset "$1" 2>&1) || die "$output"
        touch "build/$1/.configured"
    ) 9>"build/$1.lock" </dev/null
}
build_preset() {
    local preset=$1
    local -a targets=("${@:2}")
    ((${#targets[@]} == 0)) || targets=(--target "${targets[@]}")
    configure_preset "$preset"
    (
        flock 9
        if [[ -t 2 ]]; then
            NINJA_STATUS="$preset [%f/%t] " cmake --build "build/$preset" "${targets[@]}"
        else
            NINJA_STATUS='[%f/%t] ' cmake --build "build/$preset" "${targets[@]}" 2>&1 | show_progress "$preset"
        fi >&2
    ) 9>"build/$preset.lock" </dev/null
}

# Passes on what a build prints, but its steps only now and then.
show_progress() {
    local line shown=$SECONDS
    while IFS= read -r line; do
        if [[ $line =~ ^\[([0-9]+)/([0-9]+)\]\  ]]; then
            if ((SECONDS - shown >= 15)); then
                printf 'building %s: %s of %s\n' "$1" "${BASH_REMATCH[@]:1}"
                shown=$SECONDS
            fi
        elif [[ $line != '-- '* && $line != 'ninja: no work to do.' ]]; then
            printf '%s\n' "$line"
        fi
    done
}

# Installs a folder's packages from npm, all or what production needs, once for each state of its lock
# file. No install hooks run, because nothing here needs one.
install_npm_packages() {
    local folder=$1 which=$2 megabytes=$3 state
    local -a options=(--ignore-scripts --no-audit --no-fund --no-update-notifier --loglevel=error)
    state=$folder/node_modules/.installed-$(sha256sum <"$folder/package-lock.json" | cut -c1-16)
    [[ ! -e $state-all && ! -e $state-$which ]] || return 0
    [[ $which == all ]] || options+=(--omit=dev)
    say "installing the packages of $folder from npm, about $megabytes MB on disk"
    # npm works on its current folder; it also warns if the machine's Node.js is too old.
    (cd "$folder" && npm ci "${options[@]}") >&2 </dev/null || die "npm ci failed in $folder"
    touch "$state-$which"
}

# Makes the release build ready to run.
prepare_release() {
    install_for build
    build_preset release
}

# Prints every C++ and Objective-C++ file of ours, one a line.
cpp_files() {
    local folder
    for folder in "${cpp_folders[@]}"; do
        [[ ! -d $folder ]] || find "$folder" -name node_modules -prune -o \
            \( -name '*.cpp' -o -name '*.hpp' -o -name '*.mm' -o -name '*.h' \) -type f -print
    done | sort
}
