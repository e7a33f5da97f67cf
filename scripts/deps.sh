# Sourced by the other scripts: installs the Debian packages the program, its tests and
# its benchmarks need, when any is missing (the last line: the icon's sizes, the Debian
# package and its checks). Nothing comes from anywhere else.
TEMPALIA_PACKAGES="cmake ninja-build g++ pkg-config qt6-base-dev libqt6sql6-odbc unixodbc unixodbc-dev
  libsqliteodbc sqlite3 libsqlite3-dev odbc-postgresql postgresql libpq-dev qt6-charts-dev
  qt6-datavisualization-dev qt6-declarative-dev libxlsxwriter-dev libzip-dev libgl-dev xvfb xauth
  fonts-dejavu-core poppler-utils libsodium-dev python3-minimal openbox qt6-translations-l10n
  librsvg2-bin dpkg-dev file lintian appstream desktop-file-utils x11-utils locales-all"

tempalia_install_deps() {
  local missing=()
  for p in $TEMPALIA_PACKAGES; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "Instalando paquetes: ${missing[*]}"
  local sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# The shared store on a primary with a standby (scripts/ha-cluster): pg_auto_failover.
TEMPALIA_PACKAGES="$TEMPALIA_PACKAGES pg-auto-failover-cli postgresql-15-auto-failover"

tempalia_build() {
  local dir="$1"; shift
  cmake -S "$TEMPALIA_ROOT" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
  cmake --build "$dir" -j "$(nproc)"
}
