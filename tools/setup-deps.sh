# Installs what building and running the library needs, when it is missing.
# Sourced by tools/run-tests and tools/run-demo.
velnor_missing_packages() {
    local pkgs=()
    command -v cmake >/dev/null                          || pkgs+=(cmake)
    command -v make >/dev/null                           || pkgs+=(make)
    command -v x86_64-w64-mingw32-g++-posix >/dev/null   || pkgs+=(g++-mingw-w64-x86-64-posix)
    command -v wine >/dev/null                           || pkgs+=(wine)
    [ -x /usr/lib/wine/wine64 ]                          || pkgs+=(wine64)
    command -v Xvfb >/dev/null                           || pkgs+=(xvfb)
    command -v xdpyinfo >/dev/null                       || pkgs+=(x11-utils)
    [ -f /usr/src/googletest/CMakeLists.txt ]            || pkgs+=(googletest)
    command -v python3 >/dev/null                        || pkgs+=(python3)
    command -v perl >/dev/null                           || pkgs+=(perl)
    echo "${pkgs[@]}"
}

velnor_install_deps() {
    local pkgs
    pkgs=$(velnor_missing_packages)
    [ -z "$pkgs" ] && return 0
    echo "Installing: $pkgs"
    local sudo=
    [ "$(id -u)" -ne 0 ] && sudo=sudo
    $sudo apt-get update -q || return 1
    # shellcheck disable=SC2086
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -q $pkgs || return 1
}
