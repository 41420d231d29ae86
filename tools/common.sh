# What ./play, ./test and ./fuzz share. Source it from the top of the tree.

say() { printf '\n== %s\n' "$*"; }

# Packages that the build needs, and those that a show needs to play.
BUILD_PACKAGES="g++ cmake ninja-build pkg-config libirrlicht-dev libiniparser-dev libfltk1.3-dev libgstreamer1.0-dev
    libx11-dev libxext-dev libxxf86vm-dev libxrandr-dev libxft-dev libfontconfig-dev libxfixes-dev libxrender-dev
    libxcursor-dev libxinerama-dev libgl-dev libepoxy-dev libpng-dev libjpeg-dev libbz2-dev zlib1g-dev libmp3lame-dev
    glslang-dev spirv-tools libspirv-cross-c-shared-dev libmspack-dev"
RUN_PACKAGES="xvfb x11-utils libgl1-mesa-dri gstreamer1.0-plugins-base gstreamer1.0-plugins-good gcab"
TEST_PACKAGES="clang-format libgtest-dev libbenchmark-dev xdotool assimp-testmodels ffmpeg gstreamer1.0-plugins-bad git"
FUZZ_PACKAGES="clang libclang-rt-dev llvm"

# Installs those of the named packages that are missing.
install_missing() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
    done
    if [ ${#missing[@]} -eq 0 ]; then
        say "All packages are installed"
        return 0
    fi
    say "Installing ${missing[*]}"
    local root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "Not root and no sudo: install these packages, then run this again." >&2; return 1; }
        root=(sudo)
    fi
    "${root[@]}" apt-get update -qq &&
        "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# configure <directory> <cmake options>: once; later builds notice changes by themselves.
configure() {
    local directory=$1
    shift
    cmake -S . -B "$directory" -G Ninja "$@" >"$directory.log" 2>&1 || {
        cat "$directory.log"
        return 1
    }
    rm -f "$directory.log"
}

has_display() { [ -n "${DISPLAY:-}" ] && timeout 5 xdpyinfo >/dev/null 2>&1; }
