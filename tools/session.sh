# Headless Windows session for running the library's programs under Wine.
# Sourced by tools/wine-run, tools/run-tests and tools/run-demo.
#
# One Wine prefix is kept across runs (created on first use), one wineserver
# stays up while a session lasts, Xvfb provides the display when none is usable,
# and ALSA's default device is routed to a file so that played sound can be read.

VELNOR_CACHE=${VELNOR_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/velnor11}
export WINEPREFIX=${VELNOR_WINEPREFIX:-$VELNOR_CACHE/wine}
export WINEARCH=win64
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="

velnor_display_usable() {
    [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1
}

# Starts Xvfb on the first free display number and exports DISPLAY.
velnor_start_xvfb() {
    local n
    for n in $(seq 90 140); do
        [ -e "/tmp/.X11-unix/X$n" ] || [ -e "/tmp/.X$n-lock" ] && continue
        Xvfb ":$n" -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
        VELNOR_XVFB_PID=$!
        local i
        for i in $(seq 1 100); do
            if DISPLAY=":$n" xdpyinfo >/dev/null 2>&1; then
                export DISPLAY=":$n"
                return 0
            fi
            kill -0 "$VELNOR_XVFB_PID" 2>/dev/null || break
            sleep 0.05
        done
        kill "$VELNOR_XVFB_PID" 2>/dev/null
        VELNOR_XVFB_PID=
    done
    echo "velnor session: no display could be started" >&2
    return 1
}

# ALSA configuration whose default device appends every sound of a run to one file, in the
# order played. Wine opens the device afresh for each sound, and the file plugin would truncate
# its file at each opening: a pipe to `cat >>` appends instead (the shell that ALSA starts takes
# the path from the environment, so any path works), and ALSA waits for the pipe at each close,
# so a sound's bytes are in the file once its device is closed. The plug in front makes every
# sound land in one format: signed 16-bit little-endian, 44100 Hz, stereo. 16-bit samples at
# 44100 Hz arrive byte for byte; 8-bit samples become (s - 128) * 256, mono is doubled into both
# channels, and 11025 or 22050 Hz are resampled to 4 or 2 frames per frame.
velnor_route_sound() {
    export VELNOR_SOUND_FILE=${VELNOR_SOUND_FILE:-$VELNOR_CACHE/sound.raw}
    local conf="$VELNOR_CACHE/asound-$$.conf"
    cat >"$conf" <<CONF
pcm.!default {
    type plug
    slave {
        pcm "velnor_capture"
        format S16_LE
        rate 44100
        channels 2
    }
}
pcm.velnor_capture {
    type file
    slave.pcm "null"
    file '|exec cat >>"\$VELNOR_SOUND_FILE"'
    format "raw"
}
CONF
    VELNOR_ALSA_CONF=$conf
    export ALSA_CONFIG_PATH="/usr/share/alsa/alsa.conf:$conf"
}

velnor_prepare_prefix() {
    local marker="$WINEPREFIX/.velnor-prefix-4"
    [ -f "$marker" ] && return 0
    mkdir -p "$WINEPREFIX"
    wineboot -i >/dev/null 2>&1
    # Wave output goes through ALSA.
    wine reg add 'HKCU\Software\Wine\Drivers' /v Audio /d alsa /f >/dev/null 2>&1
    # A crashing program ends at once instead of waiting in a debugger.
    wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /d 'no-debugger' /f >/dev/null 2>&1
    touch "$marker"
}

# Begins a session unless one is already running in this environment.
velnor_session_begin() {
    [ -n "${VELNOR_SESSION:-}" ] && return 0
    mkdir -p "$VELNOR_CACHE"
    velnor_display_usable || velnor_start_xvfb || return 1
    velnor_route_sound
    velnor_prepare_prefix
    # The server outlives a run by a minute, so that runs in a row share it, and then ends by itself.
    wineserver -p60 >/dev/null 2>&1 || true  # a server of an earlier run may still be up
    export VELNOR_SESSION=$$
    VELNOR_SESSION_OWNER=1
}

# Ends what velnor_session_begin started, and nothing else: other runs may share the server.
velnor_session_end() {
    [ -n "${VELNOR_SESSION_OWNER:-}" ] || return 0
    [ -n "${VELNOR_XVFB_PID:-}" ] && kill "$VELNOR_XVFB_PID" 2>/dev/null
    [ -n "${VELNOR_ALSA_CONF:-}" ] && rm -f "$VELNOR_ALSA_CONF"
    unset VELNOR_SESSION VELNOR_SESSION_OWNER
}
