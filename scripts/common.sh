# shellcheck shell=bash
# Sourced by the other scripts: where things lie, and the small helpers they share.
# Everything that is built, every Wine prefix and every stage lies below build/.

root=$(cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build
reports=$build/reports
wine_base=$build/wine/base
# ip, useradd and the like are not on every user's path.
[[ :$PATH: == *:/sbin:* ]] || PATH=$PATH:/usr/sbin:/sbin

# say TEXT: a line for the person in front of the screen (never mixed with output).
say() { printf '%s\n' "$*" >&2; }

# fail TEXT: say it and end the script.
fail() {
  say "$*"
  exit 1
}

# spawn COMMAND...: starts it in the background; it is told to end when this shell
# dies, however that comes about. Its id is in $!.
spawn() { setpriv --pdeathsig TERM -- "$@" & }

# Put in front of a command: its Wine programs then start each time. Wine needs one page at
# a fixed address, and where the kernel places a program's heap at random, one start in some
# thousands finds the page taken and fails. Empty where that cannot be switched off.
steady=(setarch --addr-no-randomize)
"${steady[@]}" true 2>/dev/null || steady=()

# The environment of every Wine program we start. What the person's own session
# has set (language, proxies, another Wine) must not reach it, and it must leave
# nothing in their home folder. Argument: the locale.
wine_environment() {
  local name
  for name in "${!LC_@}" LANG LANGUAGE WINEARCH WINESERVER WINELOADER WINEDLLPATH \
    XAUTHORITY WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS XDG_RUNTIME_DIR \
    http_proxy https_proxy all_proxy no_proxy HTTP_PROXY HTTPS_PROXY ALL_PROXY NO_PROXY; do
    unset "$name"
  done
  export HOME=$build/home
  export XDG_CACHE_HOME=$HOME/.cache XDG_CONFIG_HOME=$HOME/.config
  export XDG_DATA_HOME=$HOME/.local/share XDG_STATE_HOME=$HOME/.local/state
  export LOCPATH=$build/locale
  # This shell itself may not find the locale, and would say so; the programs do.
  export LC_ALL=$1 2>/dev/null
  export WINEDEBUG=${WINEDEBUG:--all}
  # No menu entries, no .NET and no HTML engine (nothing here asks for them).
  export WINEDLLOVERRIDES='winemenubuilder.exe=d;mscoree=d;mshtml=d'
  mkdir -p "$HOME"
}

# forget_wine_server PREFIX: removes what a Wine server leaves behind after its end,
# the folder of its socket. Debian's Wine has it below /run/user/<id> or, where that
# does not exist, in a folder of /tmp that the prefix names.
forget_wine_server() {
  local device inode name=
  [[ -d $1 ]] || return 0
  read -r device inode < <(stat -c '%d %i' "$1")
  rm -rf "$(printf '/run/user/%d/wine/server-%x-%x' "$EUID" "$device" "$inode")"
  [[ ! -f $1/wineserver ]] || name=$(<"$1/wineserver")
  [[ ! $name =~ ^wine-[A-Za-z0-9]{6}$ ]] || rm -rf "/tmp/$name"
  rm -f "$1/wineserver"
}
