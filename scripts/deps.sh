# Installs the Debian packages the build needs when any is missing (sourced by ./test and ./run).
kestrova_deps() {
    local pkgs=(cmake ninja-build g++ googletest libgtest-dev libbenchmark-dev libudev-dev
                qt6-base-dev libgl-dev
                clang-14 libclang-rt-14-dev  # fuzz targets (libFuzzer) and the soak
                "$@")
    local missing=()
    for p in "${pkgs[@]}"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing: ${missing[*]}"
    local sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}
