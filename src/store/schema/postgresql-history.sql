-- History of the hour records, PostgreSQL. Written by the store itself, so that every
-- writer leaves its line: an insert ('Alta'), a change ('Cambio'), a delete ('Baja') of a
-- row of HORAS or HHORAS, and one line per area for the rows a close moves ('Archivo': rows
-- moved and the last date moved). A row deleted from HORAS while it stands in HHORAS is
-- being archived; a row inserted into HHORAS while it stands in HORAS is the archive's copy.
-- Deletes and archive copies are seen per statement (transition tables), so a close of
-- eighty thousand rows costs one INSERT ... SELECT, not eighty thousand trigger calls. The
-- look-ups in the other table end in OFFSET 0 so that they probe its key per moved row
-- instead of hashing the whole table (a hash of a million archived rows per close).
-- Values are JSON objects of the fifteen columns. HisFecha is UTC. HisLogin is the program's
-- login (the session setting tempalia.login, set on each connection after the login);
-- HisCuenta is the database account.
CREATE TABLE HORAS_HISTORIAL (HisId SERIAL PRIMARY KEY, HisFecha TIMESTAMP NOT NULL DEFAULT (clock_timestamp() AT TIME ZONE 'UTC'), HisLogin TEXT DEFAULT NULLIF(current_setting('tempalia.login', true), ''), HisCuenta TEXT DEFAULT session_user, HisTipo VARCHAR(10) NOT NULL, HisTabla VARCHAR(10) NOT NULL, HorId INTEGER, FunCedula VARCHAR(12), AreId VARCHAR(4), HisFilas INTEGER, HisHasta DATE, HisAntes TEXT, HisDespues TEXT);
CREATE INDEX IX_HIST_HORID ON HORAS_HISTORIAL (HorId);
CREATE VIEW HORAS_HISTORIAL_LECTURA AS SELECT * FROM HORAS_HISTORIAL;
-- A row as JSON with the columns' own names in their order (to_jsonb folds them to lower case).
CREATE FUNCTION tempalia_hist_json(r jsonb) RETURNS text LANGUAGE sql IMMUTABLE AS $$ SELECT json_build_object('HorId', r->'horid', 'FunCedula', r->'funcedula', 'AreId', r->'areid', 'ActId', r->'actid', 'DesId', r->'desid', 'FunInsId', r->'funinsid', 'HorFecha', r->'horfecha', 'HorSemana', r->'horsemana', 'HorValorhora', r->'horvalorhora', 'HorHoras', r->'horhoras', 'HorCategoria', r->'horcategoria', 'TipId', r->'tipid', 'HorMoneda', r->'hormoneda', 'HorHorarioInicial', r->'horhorarioinicial', 'HorHorarioFinal', r->'horhorariofinal')::text $$;
CREATE FUNCTION tempalia_hist_fila() RETURNS trigger LANGUAGE plpgsql AS $$
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
CREATE FUNCTION tempalia_hist_horas_bajas() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
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
CREATE FUNCTION tempalia_hist_hhoras_altas() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
  INSERT INTO HORAS_HISTORIAL (HisTipo, HisTabla, HorId, FunCedula, AreId, HisDespues)
  SELECT 'Alta', 'HHORAS', N.HorId, N.FunCedula, N.AreId, tempalia_hist_json(to_jsonb(N)) FROM came N
  WHERE NOT EXISTS (SELECT 1 FROM HORAS H WHERE H.HorId = N.HorId OFFSET 0) ORDER BY N.HorId;
  RETURN NULL;
END $$;
CREATE TRIGGER TR_HORAS_HIST_ALTA AFTER INSERT ON HORAS FOR EACH ROW EXECUTE FUNCTION tempalia_hist_fila();
CREATE TRIGGER TR_HORAS_HIST_CAMBIO AFTER UPDATE ON HORAS FOR EACH ROW WHEN (OLD.* IS DISTINCT FROM NEW.*) EXECUTE FUNCTION tempalia_hist_fila();
CREATE TRIGGER TR_HORAS_HIST_BAJA AFTER DELETE ON HORAS REFERENCING OLD TABLE AS gone FOR EACH STATEMENT EXECUTE FUNCTION tempalia_hist_horas_bajas();
CREATE TRIGGER TR_HHORAS_HIST_ALTA AFTER INSERT ON HHORAS REFERENCING NEW TABLE AS came FOR EACH STATEMENT EXECUTE FUNCTION tempalia_hist_hhoras_altas();
CREATE TRIGGER TR_HHORAS_HIST_CAMBIO AFTER UPDATE ON HHORAS FOR EACH ROW WHEN (OLD.* IS DISTINCT FROM NEW.*) EXECUTE FUNCTION tempalia_hist_fila();
CREATE TRIGGER TR_HHORAS_HIST_BAJA AFTER DELETE ON HHORAS FOR EACH ROW EXECUTE FUNCTION tempalia_hist_fila();
