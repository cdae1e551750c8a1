# Shared by the scripts of this folder; sourced, not run.

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Ends the script with a message.
fail() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# Runs a command as root: directly, or by sudo.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        fail "needs root or sudo to run: $*"
    fi
}

# Those of the named Debian packages that are not installed.
missing_packages() {
    local package
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || echo "$package"
    done
}

# Installs those of the named Debian packages that are missing.
install_packages() {
    local missing
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} -gt 0 ] || return 0
    echo "Installing: ${missing[*]}"
    as_root apt-get update -q
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
}

# Configures and builds a preset: build_preset <preset> [<option of cmake>...] [-- <target>...]
build_preset() {
    local preset=$1
    shift
    local options=()
    while [ $# -gt 0 ] && [ "$1" != -- ]; do
        options+=("$1")
        shift
    done
    [ $# -eq 0 ] || shift
    local targets=()
    [ $# -eq 0 ] || targets=(--target "$@")
    (cd "$root" && cmake --preset "$preset" "${options[@]}" && cmake --build --preset "$preset" "${targets[@]}")
}

# Runs the tests of a preset. The runner's verdict comes last.
test_preset() {
    local preset=$1
    shift
    (cd "$root" && ctest --preset "$preset" "$@") | awk '
        / tests passed, .* failed out of / { verdict = $0; next }
        { print; fflush() }
        END { print verdict }'
}

# The address on which the host service listens, once the file holds what it says at its start.
wait_for_address() {
    local address
    for _ in $(seq 100); do
        address=$(sed -n 's/^kyr-host listens on \(.*\)\. Try:$/\1/p' "$1")
        [ -z "$address" ] || break
        sleep 0.1
    done
    [ -n "$address" ] || fail "the host service does not listen"
    echo "$address"
}
