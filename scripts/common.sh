# What the scripts share. To be sourced, with `set -eu` in force.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Installs the packages of these kinds (see packages.txt) that are missing.
install_packages() {
    local kind name missing=()
    while read -r kind name; do
        [[ " $* " == *" $kind "* ]] || continue
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null) == installed ]] || missing+=("$name")
    done < <(grep -v '^#' "$root/scripts/packages.txt")
    [ ${#missing[@]} -gt 0 ] || return 0

    command -v apt-get >/dev/null || { echo "please install first: ${missing[*]}" >&2; return 1; }
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    echo "installing ${missing[*]}" >&2
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}

# Configures and builds a preset, with further arguments for the configuration.
build_preset() {
    local preset=$1
    shift
    (cd "$root" && cmake --preset "$preset" "$@" && cmake --build --preset "$preset" -j "$(nproc)")
}
