# Installs the Debian packages the build needs when any is missing (sourced by ./test and ./run).
kestrova_deps() {
    local pkgs=(cmake ninja-build g++ googletest libgtest-dev libbenchmark-dev libudev-dev
                qt6-base-dev libgl-dev
                clang-14 libclang-rt-14-dev  # fuzz targets (libFuzzer) and the soak
                dpkg-dev qt6-translations-l10n  # the .deb's dependency list; Qt's German texts
                valgrind                     # callgrind: instruction counts (bench/instructions.sh)
                python3                      # the example bridge
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

# What the Windows control needs besides (sourced by ./test): the mingw-w64 cross compilers with
# widl and windres, Wine and its .idl files. 32-bit Wine runs the 32-bit control's tests; it
# needs the i386 architecture and cannot be installed on every machine, so failing to install it
# only leaves those tests out.
kestrova_windows_deps() {
    kestrova_deps g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools wine wine64 \
                  libwine-dev
    # On screen: a private X display, the dialog fonts, pictures converted and checked, the installer.
    kestrova_deps xvfb xauth fonts-wine imagemagick nsis
    dpkg-query -W -f='${Status}' wine32:i386 2>/dev/null | grep -q 'install ok installed' && return 0
    local sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    { dpkg --print-foreign-architectures | grep -qx i386 || $sudo dpkg --add-architecture i386; } &&
        DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends \
            wine32:i386 >/dev/null 2>&1 ||
        echo "note: wine32:i386 cannot be installed here; the 32-bit control is built, not tested"
    return 0
}
