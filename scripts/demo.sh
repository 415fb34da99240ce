#!/usr/bin/env bash
# Shows the library at work: builds it, serves a sample library on a free loopback port, and brings
# it down with kivsync, through changes, deletions and a stop in the middle. Ends by itself, with 0
# if all that it shows was as it should be.
# Usage: scripts/demo.sh [--build-dir=DIR] [--no-install]
#   --build-dir=DIR   build there (default: build-demo/ in the source tree)
#   --no-install      take the machine as it is
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=$source_dir/build-demo
install=yes
for argument in "$@"; do
    case "$argument" in
        --build-dir=*) build_dir=${argument#*=} ;;
        --no-install) install=no ;;
        -h|--help) sed -n '2,7s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; exit 0 ;;
        *) echo "demo.sh: unknown argument '$argument' (see --help)" >&2; exit 2 ;;
    esac
done

bold='' dim='' green='' plain=''
if [ -t 1 ]; then
    bold=$'\e[1m' dim=$'\e[2m' green=$'\e[32m' plain=$'\e[0m'
fi
scene() { printf '\n%s%d. %s%s\n' "$bold" "$((++scenes))" "$1" "$plain"; }
tell() { printf '   %s\n' "$@"; }
passed() { printf '   %s✓ %s%s\n' "$green" "$1" "$plain"; checks=$((checks + 1)); }
fail() { printf 'demo.sh: %s\n' "$1" >&2; exit 1; }
scenes=0 checks=0

# ---------------------------------------------------------------------------------------- building

build() {
    local log=$work/build.log
    [ "$install" = no ] || "$source_dir/scripts/install-packages.sh" build
    echo "Building kivdownloader in $build_dir ..."
    {
        cmake -S "$source_dir" -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=Release \
            -DKIV_BUILD_TESTS=OFF -DKIV_BUILD_HOSTS=ON -DKIV_BUILD_DEMO=ON &&
            cmake --build "$build_dir" --target kivdownloader kivsync kivpublish kiv_demo_server
    } >"$log" 2>&1 </dev/null || { cat "$log"; fail "the build failed"; }
}

# -------------------------------------------------------------------------------- the sample library

# Some hundreds of files in nested folders, with blanks and letters beyond ASCII in their names. A
# third of the maps has a lossy variant beside it.
make_library() {
    local root=$1 folder
    for folder in "materials/wood/oak & ash" "materials/stone/größer als 2 m" "materials/布/絹" \
                  "fonts" "docs/ελληνικά" "settings" "staging/not yet"; do
        mkdir -p "$root/$folder"
    done
    awk -v root="$root" '
        function fill(name, bytes,    i) {
            name = root "/" name
            for (i = 0; i * 32 < bytes; ++i) printf "%031d\n", (i + 7) * length(name) > name
            close(name)
        }
        BEGIN {
            split("wood/oak & ash,stone/größer als 2 m,布/絹", folders, ",")
            for (f = 1; f <= 3; ++f) for (n = 1; n <= 100; ++n) {
                name = sprintf("materials/%s/map %03d", folders[f], n)
                fill(name ".tx", (n * 7919 * f) % 30000)
                if (n % 3 == 0) fill(name ".jpeg.tx", (n * 7919 * f) % 6000 + 1)
            }
            for (n = 1; n <= 20; ++n) fill(sprintf("settings/Voreinstellung %d.ini", n), n * 40)
            for (n = 1; n <= 12; ++n) fill(sprintf("staging/not yet/draft %d.tx", n), n * 5000)
            for (n = 1; n <= 8; ++n) fill(sprintf("docs/ελληνικά/σελίδα %d.txt", n), n * 700)
        }'
    : >"$root/fonts/empty.ttf"
    for folder in 1 2 3; do
        head -c 4000000 /dev/urandom >"$root/materials/panorama $folder.tx"
    done
}

publish() {
    "$bin/kivpublish" "$work/server" --rule 'settings/**=missing' --rule 'staging/**=none' "$@"
}

# ------------------------------------------------------------------------------------- the server

start_server() {
    coproc SERVER { exec "$bin/kiv_demo_server" "$work/server"; }
    server_pid=$SERVER_PID
    # A subshell has no use of a coprocess's own descriptors.
    exec {from_server}<&"${SERVER[0]}" {to_server}>&"${SERVER[1]}"
    eval "exec ${SERVER[0]}<&- ${SERVER[1]}>&-"
    read -r port <&"$from_server" || fail "the server didn't start"
    url=http://127.0.0.1:$port/kivlib
}
# What the server answers to a command.
ask_server() { echo "$1" >&"$to_server"; read -r answer <&"$from_server"; echo "$answer"; }
# The end of its input ends the server.
stop_server() {
    exec {to_server}>&-
    wait "$server_pid" || fail "the server ended with $?"
    server_pid=''
}

# ------------------------------------------------------------------------------- runs and what they did

# Runs kivsync; tells its command, the ends of what it said, and its exit code, which must be $1.
# On a terminal its progress is drawn there.
sync_expecting() {
    local wanted=$1 code=0
    shift
    tell "${bold}\$ kivsync $*${plain}"
    if [ -t 2 ]; then
        "$bin/kivsync" "$@" >"$work/output" || code=$?
    else
        "$bin/kivsync" "$@" >"$work/output" 2>&1 || code=$?
    fi
    show_output "$code"
    [ "$code" = "$wanted" ] || fail "kivsync ended with $code, not $wanted"
}
show_output() {
    local lines
    lines=$(wc -l <"$work/output")
    if [ "$lines" -le 12 ]; then
        sed "s/^/     $dim/; s/\$/$plain/" "$work/output"
    else
        head -n 7 "$work/output" | sed "s/^/     $dim/; s/\$/$plain/"
        tell "  $dim... $((lines - 10)) lines more ...$plain"
        tail -n 3 "$work/output" | sed "s/^/     $dim/; s/\$/$plain/"
    fi
    tell "  exit code $1"
}

# What a complete copy of the server's library is, made without the programs that are shown: lossy
# variants in the place of full maps, nothing of the rule "none".
make_expected() {
    local expected=$work/expected variant
    rm -rf "$expected"
    cp -r "$work/server" "$expected"
    rm -r "$expected/filelist.json" "$expected/staging"
    while IFS= read -r -d '' variant; do
        mv "$variant" "${variant%.jpeg.tx}.tx"
    done < <(find "$expected" -name '*.jpeg.tx' -print0)
}
verify_tree() {
    local files bytes
    make_expected
    diff -r "$work/expected" "$work/copy" || fail "the copy isn't what it should be"
    files=$(find "$work/copy" -type f | wc -l)
    bytes=$(find "$work/copy" -type f -printf '%s\n' | awk '{ sum += $1 } END { print sum }')
    passed "the copy is right, byte by byte: $files files, $bytes bytes"
}
expect_same() {
    cmp -s "$1" "$2" || fail "not so: $3"
    passed "$3"
}

# --------------------------------------------------------------------------------------- the scenes

show_first_run() {
    scene "A first run brings the whole library"
    publish | sed 's/^/   kivpublish: /'
    sync_expecting 0 "$url" "$work/copy"
    verify_tree
}

show_second_run() {
    local requests
    scene "A second run finds nothing to do"
    ask_server requests >"$work/answer"
    sync_expecting 0 "$url" "$work/copy"
    requests=$(ask_server requests)
    [ "$requests" = 1 ] || fail "the run took $requests requests"
    passed "it took one request: the stamp"
}

show_change() {
    scene "A change on the server"
    echo "a new edition" >"$work/server/materials/wood/oak & ash/map 001.tx"
    echo "one file more" >"$work/server/docs/new in this edition.txt"
    publish --quiet
    sync_expecting 1 --check "$url" "$work/copy"
    passed "--check has seen it"
    sync_expecting 0 "$url" "$work/copy"
    verify_tree
    sync_expecting 0 --check "$url" "$work/copy"
}

show_deletions() {
    local always="fonts/empty.ttf" missing="settings/Voreinstellung 7.ini"
    local edited="settings/Voreinstellung 8.ini" never="staging/not yet/draft 1.tx"
    scene "Files deleted or changed locally, under each rule"
    rm "$work/copy/$always" "$work/copy/$missing"
    echo "my own settings" >"$work/copy/$edited"
    tell "deleted: $always (always), $missing (missing)" "edited:  $edited (missing)"
    sync_expecting 0 --quiet "$url" "$work/copy"
    [ ! -e "$work/copy/$always" ] || fail "a file came back without a new stamp"
    passed "with an unchanged stamp nothing is looked at, and nothing comes back"
    publish --quiet --stamp "edition 3"
    sync_expecting 0 --quiet "$url" "$work/copy"
    expect_same "$work/server/$always" "$work/copy/$always" "always: fetched with every new stamp"
    expect_same "$work/server/$missing" "$work/copy/$missing" "missing: fetched, since it was gone"
    expect_same <(echo "my own settings") "$work/copy/$edited" "missing: one that is there stays"
    [ ! -e "$work/copy/$never" ] || fail "a file of the rule none was fetched"
    passed "none: listed, and never fetched"
    rm "$work/copy/$edited"
}

show_abort() {
    local code=0
    scene "Ctrl-C in the middle of a run, and the run that heals it"
    echo "edition 4" >"$work/server/materials/布/絹/map 050.tx"
    publish --quiet
    echo "slow 150" >&"$to_server"
    tell "${bold}\$ kivsync $url $work/copy   ${dim}(the server slows down at request 150)${plain}"
    "$bin/kivsync" "$url" "$work/copy" >"$work/output" 2>&1 &
    sync_pid=$!
    read -r answer <&"$from_server"
    kill -INT "$sync_pid"
    wait "$sync_pid" || code=$?
    sync_pid=''
    show_output "$code"
    [ "$code" = 130 ] || fail "kivsync ended with $code, not 130"
    passed "it stopped cleanly with 130"
    expect_same <(printf 'edition 3') "$work/copy/id.txt" "the stamp is still the old one"
    ask_server fast >"$work/answer"
    sync_expecting 0 "$url" "$work/copy"
    verify_tree
}

# -------------------------------------------------------------------------------------- from here on

work=$(mktemp -d "${TMPDIR:-/tmp}/kiv-demo.XXXXXX")
server_pid='' sync_pid=''
clean_up() {
    local pid
    for pid in $sync_pid $server_pid; do
        kill "$pid" 2>/dev/null || true
    done
    rm -rf "$work"
}
trap clean_up EXIT

build
bin=$build_dir/bin
make_library "$work/server"
start_server
tell "Serving $(find "$work/server" -type f | wc -l) files at $url"

show_first_run
show_second_run
show_change
show_deletions
show_abort
stop_server
printf '\n%sAll %d scenes went as they should; %d checks passed.%s\n' "$bold" "$scenes" "$checks" "$plain"
