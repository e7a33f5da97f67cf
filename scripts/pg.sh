# Sourced by the test and benchmark scripts: a throwaway PostgreSQL cluster on 127.0.0.1,
# started in a temporary folder and always stopped on exit.
tempalia_free_port() {
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1]); s.close()'
}

# The server answers in Spanish, as the institutes' servers do: the store's faults are told
# apart by their SQLSTATE, never by the server's words (locales-all provides the locale).
tempalia_pg_spanish() {
  # grep reads the whole list: with -q it would stop early, and pipefail would take the
  # listing's broken pipe for a missing locale.
  if locale -a 2>/dev/null | grep -x 'es_ES.utf8' >/dev/null; then
    echo "-c lc_messages=es_ES.UTF-8"
  fi
}

tempalia_pg_start() {
  local bindir
  bindir="$(ls -d /usr/lib/postgresql/*/bin | sort -V | tail -n 1)"
  TEMPALIA_PG_DIR="$(mktemp -d /tmp/tempalia-pg.XXXXXX)"
  # TEMPALIA_PG_DATA names a data folder kept between runs (the benchmark's large stores);
  # without it the cluster lives and dies in the temporary folder.
  local data="${TEMPALIA_PG_DATA:-$TEMPALIA_PG_DIR/data}"
  # A port the system hands out as free, not one guessed: other clusters may share the machine.
  TEMPALIA_PG_PORT="${TEMPALIA_PG_PORT:-$(tempalia_free_port)}"
  local run=()
  if [ "$(id -u)" -eq 0 ]; then
    chown postgres "$TEMPALIA_PG_DIR"
    run=(runuser -u postgres --)
    TEMPALIA_PG_USER=postgres
  else
    TEMPALIA_PG_USER="$(id -un)"
  fi
  if [ -n "${TEMPALIA_PG_DATA:-}" ]; then
    mkdir -p "$data"
    [ "$(id -u)" -eq 0 ] && chown postgres "$data"
    chmod 700 "$data"
  fi
  [ -f "$data/PG_VERSION" ] || "${run[@]}" "$bindir/initdb" -D "$data" -A trust -U "$TEMPALIA_PG_USER" -E UTF8 >/dev/null
  "${run[@]}" "$bindir/pg_ctl" -D "$data" -l "$TEMPALIA_PG_DIR/log" -w \
     -o "-p $TEMPALIA_PG_PORT -k $TEMPALIA_PG_DIR -c listen_addresses=127.0.0.1 -c fsync=${TEMPALIA_PG_FSYNC:-off} $(tempalia_pg_spanish)" start >/dev/null
  TEMPALIA_PG_STOP=("${run[@]}" "$bindir/pg_ctl" -D "$data" -m fast stop)
  trap tempalia_pg_stop EXIT
  TEMPALIA_PG_DB=postgres
  export TEMPALIA_PG_HOST=127.0.0.1 TEMPALIA_PG_PORT TEMPALIA_PG_USER TEMPALIA_PG_DB
}

tempalia_pg_stop() {
  if [ -n "${TEMPALIA_PG_DIR:-}" ]; then
    "${TEMPALIA_PG_STOP[@]}" >/dev/null 2>&1 || true
    rm -rf "$TEMPALIA_PG_DIR"
    TEMPALIA_PG_DIR=""
  fi
}
