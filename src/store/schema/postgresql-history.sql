-- History of the hour records, PostgreSQL. Written by the store itself, so that every
-- writer leaves its line: an insert ('Alta'), a change ('Cambio'), a delete ('Baja') of a
-- row of HORAS or HHORAS, and one line per area for the rows a close moves ('Archivo': rows
-- moved and the last date moved). A row deleted from HORAS while it stands in HHORAS is
-- being archived; a row inserted into HHORAS while it stands in HORAS is the archive's copy.
-- Deletes and archive copies are seen per statement (transition tables), so a close of
-- eighty thousand rows costs one INSERT ... SELECT, not eighty thousand trigger calls. The
-- look-ups in the other table end in OFFSET 0 so that they probe its key per moved row
-- instead of hashing the whole table (a hash of a million archived rows per close).
-- A close run through tempalia_cierre_mover() is recognised without any look-up (see
-- HORAS_CIERRE below).
-- Values are JSON objects of the fifteen columns. HisFecha is UTC. HisLogin is the program's
-- login (the session setting tempalia.login, set on each connection after the login);
-- HisCuenta is the database account.
-- The statements that can run again on a store that has them (CREATE OR REPLACE, IF NOT
-- EXISTS, GRANT, DO) are what an upgrade runs to bring an older history up to date.
CREATE TABLE HORAS_HISTORIAL (HisId SERIAL PRIMARY KEY, HisFecha TIMESTAMP NOT NULL DEFAULT (clock_timestamp() AT TIME ZONE 'UTC'), HisLogin TEXT DEFAULT NULLIF(current_setting('tempalia.login', true), ''), HisCuenta TEXT DEFAULT session_user, HisTipo VARCHAR(10) NOT NULL, HisTabla VARCHAR(10) NOT NULL, HorId INTEGER, FunCedula VARCHAR(12), AreId VARCHAR(4), HisFilas INTEGER, HisHasta DATE, HisAntes TEXT, HisDespues TEXT);
CREATE INDEX IX_HIST_HORID ON HORAS_HISTORIAL (HorId);
CREATE VIEW HORAS_HISTORIAL_LECTURA AS SELECT * FROM HORAS_HISTORIAL;
-- The close in progress, for the length of its own transaction: tempalia_cierre_mover()
-- writes its transaction's row before it moves the rows and removes it before it returns,
-- so no other transaction ever sees one, and a close that fails takes it back with the
-- rest. Only the owner writes here (the function runs as the owner); while the row stands
-- the statement triggers take the transaction's deletes from HORAS as archived and its
-- inserts into HHORAS as the archive's copies, without looking up each row.
CREATE TABLE IF NOT EXISTS HORAS_CIERRE (CieTransaccion BIGINT PRIMARY KEY);
GRANT SELECT ON HORAS_CIERRE TO PUBLIC;
-- A row as JSON with the columns' own names in their order (to_jsonb folds them to lower case).
CREATE OR REPLACE FUNCTION tempalia_hist_json(r jsonb) RETURNS text LANGUAGE sql IMMUTABLE AS $$ SELECT json_build_object('HorId', r->'horid', 'FunCedula', r->'funcedula', 'AreId', r->'areid', 'ActId', r->'actid', 'DesId', r->'desid', 'FunInsId', r->'funinsid', 'HorFecha', r->'horfecha', 'HorSemana', r->'horsemana', 'HorValorhora', r->'horvalorhora', 'HorHoras', r->'horhoras', 'HorCategoria', r->'horcategoria', 'TipId', r->'tipid', 'HorMoneda', r->'hormoneda', 'HorHorarioInicial', r->'horhorarioinicial', 'HorHorarioFinal', r->'horhorariofinal')::text $$;
CREATE OR REPLACE FUNCTION tempalia_hist_fila() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
  IF TG_OP = 'UPDATE' THEN
    INSERT INTO HORAS_HISTORIAL (HisTipo, HisTabla, HorId, FunCedula, AreId, HisAntes, HisDespues)
    VALUES ('Cambio', upper(TG_TABLE_NAME), NEW.HorId, NEW.FunCedula, NEW.AreId, tempalia_hist_json(to_jsonb(OLD)), tempalia_hist_json(to_jsonb(NEW)));
    RETURN NEW;
  ELSIF TG_OP = 'INSERT' THEN
    INSERT INTO HORAS_HISTORIAL (HisTipo, HisTabla, HorId, FunCedula, AreId, HisDespues)
    VALUES ('Alta', upper(TG_TABLE_NAME), NEW.HorId, NEW.FunCedula, NEW.AreId, tempalia_hist_json(to_jsonb(NEW)));
    RETURN NEW;
  END IF;
  INSERT INTO HORAS_HISTORIAL (HisTipo, HisTabla, HorId, FunCedula, AreId, HisAntes)
  VALUES ('Baja', upper(TG_TABLE_NAME), OLD.HorId, OLD.FunCedula, OLD.AreId, tempalia_hist_json(to_jsonb(OLD)));
  RETURN OLD;
END $$;
CREATE OR REPLACE FUNCTION tempalia_hist_horas_bajas() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
  IF EXISTS (SELECT 1 FROM HORAS_CIERRE WHERE CieTransaccion = txid_current()) THEN
    INSERT INTO HORAS_HISTORIAL (HisTipo, HisTabla, AreId, HisFilas, HisHasta)
    SELECT 'Archivo', 'HORAS', G.AreId, COUNT(*), MAX(G.HorFecha) FROM gone G GROUP BY G.AreId ORDER BY G.AreId;
    RETURN NULL;
  END IF;
  WITH deleted AS MATERIALIZED (
    SELECT G.*, EXISTS (SELECT 1 FROM HHORAS X WHERE X.HorId = G.HorId OFFSET 0) AS archived FROM gone G),
  deletes AS (
    INSERT INTO HORAS_HISTORIAL (HisTipo, HisTabla, HorId, FunCedula, AreId, HisAntes)
    SELECT 'Baja', 'HORAS', D.HorId, D.FunCedula, D.AreId,
           tempalia_hist_json(to_jsonb(D) - 'archived') FROM deleted D WHERE NOT D.archived ORDER BY D.HorId)
  INSERT INTO HORAS_HISTORIAL (HisTipo, HisTabla, AreId, HisFilas, HisHasta)
  SELECT 'Archivo', 'HORAS', D.AreId, COUNT(*), MAX(D.HorFecha) FROM deleted D WHERE D.archived
  GROUP BY D.AreId ORDER BY D.AreId;
  RETURN NULL;
END $$;
CREATE OR REPLACE FUNCTION tempalia_hist_hhoras_altas() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
  IF EXISTS (SELECT 1 FROM HORAS_CIERRE WHERE CieTransaccion = txid_current()) THEN
    RETURN NULL;
  END IF;
  INSERT INTO HORAS_HISTORIAL (HisTipo, HisTabla, HorId, FunCedula, AreId, HisDespues)
  SELECT 'Alta', 'HHORAS', N.HorId, N.FunCedula, N.AreId, tempalia_hist_json(to_jsonb(N)) FROM came N
  WHERE NOT EXISTS (SELECT 1 FROM HORAS H WHERE H.HorId = N.HorId OFFSET 0) ORDER BY N.HorId;
  RETURN NULL;
END $$;
-- The close's move of one area: every row of HORAS of the area dated up to the cut-off is
-- copied into HHORAS (a row already there, left by an interrupted close of an older
-- version, takes the values of the one in HORAS) and deleted from HORAS, in the caller's
-- transaction and snapshot; returns both counts for the caller to compare. It runs as the
-- owner only to write the close's row of HORAS_CIERRE, so it moves nothing its caller could
-- not move with the same two statements (a caller without those rights is refused).
CREATE OR REPLACE FUNCTION tempalia_cierre_mover(area VARCHAR, hasta DATE, OUT copiadas INTEGER, OUT borradas INTEGER) LANGUAGE plpgsql SECURITY DEFINER AS $$
BEGIN
  IF NOT (has_table_privilege(session_user, 'horas', 'DELETE') AND has_table_privilege(session_user, 'hhoras', 'INSERT, UPDATE')) THEN
    RAISE EXCEPTION 'permiso denegado para cerrar el mes' USING ERRCODE = 'insufficient_privilege';
  END IF;
  INSERT INTO HORAS_CIERRE (CieTransaccion) VALUES (txid_current());
  INSERT INTO HHORAS (HorId, FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, HorSemana, HorValorhora, HorHoras, HorCategoria, TipId, HorMoneda, HorHorarioInicial, HorHorarioFinal) SELECT HorId, FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, HorSemana, HorValorhora, HorHoras, HorCategoria, TipId, HorMoneda, HorHorarioInicial, HorHorarioFinal FROM HORAS WHERE HorFecha <= hasta AND AreId = area
  ON CONFLICT (HorId) DO UPDATE SET FunCedula = EXCLUDED.FunCedula, AreId = EXCLUDED.AreId, ActId = EXCLUDED.ActId, DesId = EXCLUDED.DesId, FunInsId = EXCLUDED.FunInsId, HorFecha = EXCLUDED.HorFecha, HorSemana = EXCLUDED.HorSemana, HorValorhora = EXCLUDED.HorValorhora, HorHoras = EXCLUDED.HorHoras, HorCategoria = EXCLUDED.HorCategoria, TipId = EXCLUDED.TipId, HorMoneda = EXCLUDED.HorMoneda, HorHorarioInicial = EXCLUDED.HorHorarioInicial, HorHorarioFinal = EXCLUDED.HorHorarioFinal;
  GET DIAGNOSTICS copiadas = ROW_COUNT;
  DELETE FROM HORAS WHERE HorFecha <= hasta AND AreId = area;
  GET DIAGNOSTICS borradas = ROW_COUNT;
  DELETE FROM HORAS_CIERRE WHERE CieTransaccion = txid_current();
END $$;
-- The functions find the store's tables in its own schema, never in a temporary table of the
-- same name that a session made to catch (or forge) what they read and write. The close's
-- function and marker belong to the owner of the hour tables, whoever runs this.
DO $$
DECLARE f TEXT;
DECLARE owner NAME := (SELECT tableowner FROM pg_tables WHERE tablename = 'horas' AND schemaname = current_schema());
BEGIN
  FOREACH f IN ARRAY ARRAY['tempalia_hist_fila()', 'tempalia_hist_horas_bajas()', 'tempalia_hist_hhoras_altas()', 'tempalia_cierre_mover(VARCHAR, DATE)'] LOOP
    EXECUTE format('ALTER FUNCTION %s SET search_path = %I, pg_temp', f, current_schema());
  END LOOP;
  EXECUTE format('ALTER FUNCTION tempalia_cierre_mover(VARCHAR, DATE) OWNER TO %I', owner);
  EXECUTE format('ALTER TABLE HORAS_CIERRE OWNER TO %I', owner);
END $$;
CREATE TRIGGER TR_HORAS_HIST_ALTA AFTER INSERT ON HORAS FOR EACH ROW EXECUTE FUNCTION tempalia_hist_fila();
CREATE TRIGGER TR_HORAS_HIST_CAMBIO AFTER UPDATE ON HORAS FOR EACH ROW WHEN (OLD.* IS DISTINCT FROM NEW.*) EXECUTE FUNCTION tempalia_hist_fila();
CREATE TRIGGER TR_HORAS_HIST_BAJA AFTER DELETE ON HORAS REFERENCING OLD TABLE AS gone FOR EACH STATEMENT EXECUTE FUNCTION tempalia_hist_horas_bajas();
CREATE TRIGGER TR_HHORAS_HIST_ALTA AFTER INSERT ON HHORAS REFERENCING NEW TABLE AS came FOR EACH STATEMENT EXECUTE FUNCTION tempalia_hist_hhoras_altas();
CREATE TRIGGER TR_HHORAS_HIST_CAMBIO AFTER UPDATE ON HHORAS FOR EACH ROW WHEN (OLD.* IS DISTINCT FROM NEW.*) EXECUTE FUNCTION tempalia_hist_fila();
CREATE TRIGGER TR_HHORAS_HIST_BAJA AFTER DELETE ON HHORAS FOR EACH ROW EXECUTE FUNCTION tempalia_hist_fila();
