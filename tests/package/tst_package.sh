#!/usr/bin/env bash
# The Debian package as a user gets it: built with CPack from this build's install rules,
# checked with lintian, appstreamcli and desktop-file-validate, unpacked into a temporary
# root, and its two commands run from there for a new user (private HOME, data source
# files and data folder): the first start without RRHHODBC, `tempalia-store init`, then the
# program up to its login window, on a virtual screen. Nothing outside the user's data
# and data source files may be written.
#   tst_package.sh BUILD_FOLDER
set -euo pipefail
build="$(cd "$1" && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "FALLA: $*" >&2; failures=$((failures + 1)); }
check() { local what="$1"; shift; if "$@"; then echo "ok: $what"; else fail "$what"; fi; }

# --- the package ---------------------------------------------------------------------
(cd "$build" && cpack -G DEB -B "$work/out" >"$work/cpack.log" 2>&1) || { cat "$work/cpack.log"; exit 1; }
version="$(sed -n 's/^set(CPACK_PACKAGE_VERSION "\(.*\)")$/\1/p' "$build/CPackConfig.cmake")"
deb="$work/out/tempalia_${version}_$(dpkg --print-architecture).deb"
[ -f "$deb" ] || { ls "$work/out"; echo "FALLA: no se generó $deb" >&2; exit 1; }
echo "ok: $(basename "$deb")"

contents="$(dpkg-deb -c "$deb" | awk '{print $6}' | sed 's|^\./|/|')"
for path in /usr/bin/tempalia /usr/bin/tempalia-store \
            /usr/share/applications/uy.com.novadat.Tempalia.desktop \
            /usr/share/metainfo/uy.com.novadat.Tempalia.metainfo.xml \
            /usr/share/icons/hicolor/scalable/apps/tempalia.svg \
            /usr/share/icons/hicolor/16x16/apps/tempalia.png /usr/share/icons/hicolor/48x48/apps/tempalia.png \
            /usr/share/icons/hicolor/256x256/apps/tempalia.png \
            /usr/share/man/man1/tempalia.1.gz /usr/share/man/man1/tempalia-store.1.gz \
            /usr/share/doc/tempalia/copyright /usr/share/doc/tempalia/changelog.gz; do
  grep -qx "$path" <<<"$contents" || fail "el paquete no tiene $path"
done
check "nada fuera de /usr" test -z "$(grep -v '^/usr/' <<<"$contents" | grep -v '^/$' || true)"
depends="$(dpkg-deb -f "$deb" Depends)"
for dep in libodbc2 libqt6widgets6 libqt6sql6-odbc qt6-qpa-plugins; do
  grep -q "$dep" <<<"$depends" || fail "Depends sin $dep: $depends"
done
check "Recommends libsqliteodbc" test "$(dpkg-deb -f "$deb" Recommends)" = libsqliteodbc
check "Suggests odbc-postgresql" test "$(dpkg-deb -f "$deb" Suggests)" = odbc-postgresql

if lintian --fail-on error,warning --tag-display-limit 0 "$deb" >"$work/lintian.log" 2>&1; then
  echo "ok: lintian"
else
  cat "$work/lintian.log"; fail "lintian"
fi

root="$work/root"
dpkg-deb -x "$deb" "$root"
check "appstreamcli validate" appstreamcli validate --no-net "$root"/usr/share/metainfo/uy.com.novadat.Tempalia.metainfo.xml
check "desktop-file-validate" desktop-file-validate "$root"/usr/share/applications/uy.com.novadat.Tempalia.desktop
grep -q '^Categories=Office;' "$root"/usr/share/applications/*.desktop || fail "la entrada de escritorio no es de Office"

# --- a new user ------------------------------------------------------------------------
home="$work/home"
mkdir -p "$home" "$work/sys" "$work/cwd" "$work/runtime"
chmod 700 "$work/runtime"
driver="$(dpkg -L libsqliteodbc | grep '/libsqlite3odbc\.so$' | head -n 1)"
printf '[SQLite3]\nDriver=%s\n' "$driver" >"$work/sys/odbcinst.ini"
: >"$work/sys/odbc.ini"
export HOME="$home" XDG_DATA_HOME="$home/.local/share" XDG_CONFIG_HOME="$home/.config" \
       XDG_CACHE_HOME="$home/.cache" XDG_RUNTIME_DIR="$work/runtime" \
       ODBCINI="$home/.odbc.ini" ODBCSYSINI="$work/sys" LC_ALL=C.UTF-8
printf '; orígenes de datos de este usuario\n[NOMINA]\nDriver=SQLite3\nDatabase=/srv/nomina.db\n' >"$ODBCINI"
cp "$ODBCINI" "$work/odbc.ini.before"
touch "$work/marker"
sleep 1
cd "$work/cwd"
store="$XDG_DATA_HOME/tempalia/rrhh.sqlite"

# The program's windows, looked for by title on the virtual screen.
cat >"$work/windows.sh" <<'SH'
# Starts the unpacked program, waits up to 30 s for a window titled $1, ends the program.
wait_for_window() {
  "$ROOT/usr/bin/tempalia" >"$WORK/tempalia.log" 2>&1 &
  local pid=$! found=1
  for _ in $(seq 1 150); do
    if xwininfo -root -tree | grep -q "\"$1\""; then found=0; break; fi
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.2
  done
  kill "$pid" 2>/dev/null; wait "$pid" 2>/dev/null
  return $found
}
SH
export ROOT="$root" WORK="$work"
unset QT_QPA_PLATFORM WAYLAND_DISPLAY  # the program must open X11 windows on the virtual screen
screen() { xvfb-run -a -s "-screen 0 1280x1024x24" bash -c ". '$work/windows.sh'; $1"; }

if screen "wait_for_window 'Quronda - Primer inicio'"; then echo "ok: primer inicio sin RRHHODBC"
else cat "$work/tempalia.log"; fail "tempalia no mostró la ventana de primer inicio"; fi
check "el primer inicio no escribió nada" cmp -s "$work/odbc.ini.before" "$ODBCINI"
check "ni creó la carpeta de datos" test ! -e "$XDG_DATA_HOME/tempalia"

# Without the SQLite driver (only recommended by the package) init refuses and writes nothing.
mkdir -p "$work/nodriver"
: >"$work/nodriver/odbcinst.ini"
if ODBCSYSINI="$work/nodriver" "$root/usr/bin/tempalia-store" init directora clave >"$work/nodriver.log" 2>&1; then
  fail "init sin el controlador de SQLite no se negó"
else
  grep -q "paquete libsqliteodbc" "$work/nodriver.log" || fail "mensaje sin controlador: $(cat "$work/nodriver.log")"
fi
check "sin controlador no escribió nada" cmp -s "$work/odbc.ini.before" "$ODBCINI"

if echo "s3creta" | "$root/usr/bin/tempalia-store" init directora >"$work/init.log" 2>&1; then echo "ok: tempalia-store init"
else cat "$work/init.log"; fail "tempalia-store init"; fi
check "la base es solo del usuario (600)" test "$(stat -c %a "$store")" = 600
check "su carpeta es solo del usuario (700)" test "$(stat -c %a "$(dirname "$store")")" = 700
check "los orígenes de datos anteriores siguen igual" \
  cmp -s -n "$(stat -c %s "$work/odbc.ini.before")" "$work/odbc.ini.before" "$ODBCINI"
grep -q '^\[RRHHODBC\]$' "$ODBCINI" || fail "RRHHODBC no quedó registrado"
check "login del administrador" test "$(sqlite3 "$store" "SELECT UsuLogin || ' ' || PerId FROM USUARIOS")" = "directora 7"

saved_ini="$(sha256sum <"$ODBCINI")"; saved_store="$(sha256sum <"$store")"
if "$root/usr/bin/tempalia-store" init otro clave >"$work/again.log" 2>&1; then fail "un segundo init no se negó"
else grep -q "ya está definido" "$work/again.log" || fail "mensaje del segundo init: $(cat "$work/again.log")"; fi
check "un segundo init no cambió nada" test "$(sha256sum <"$ODBCINI")$(sha256sum <"$store")" = "$saved_ini$saved_store"

if screen "wait_for_window 'Quronda - Login'"; then echo "ok: tempalia llega a la ventana de login"
else cat "$work/tempalia.log"; fail "tempalia no mostró la ventana de login"; fi

# Written anywhere but the user's data folder and data source file: nothing.
written="$( (find "$root" "$work/cwd" -newer "$work/marker"; find "$home" -newer "$work/marker" \
            -not -path "$home" -not -path "$ODBCINI" -not -path "$XDG_DATA_HOME" -not -path "$XDG_DATA_HOME/tempalia*" \
            -not -path "$home/.local") | sort)"
check "nada escrito fuera de los datos del usuario${written:+: $written}" test -z "$written"

[ "$failures" -eq 0 ] || { echo "$failures fallas" >&2; exit 1; }
echo "El paquete pasó todas las pruebas."
