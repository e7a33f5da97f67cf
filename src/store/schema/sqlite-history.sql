-- History of the hour records, SQLite. Written by the store itself, so that every writer
-- leaves its line: an insert ('Alta'), a change ('Cambio'), a delete ('Baja') of a row of
-- HORAS or HHORAS, and one line per area for the rows a close moves ('Archivo': rows moved
-- and the last date moved). A row deleted from HORAS while it stands in HHORAS is being
-- archived; a row inserted into HHORAS while it stands in HORAS is the archive's copy.
-- Values are JSON objects of the fifteen columns. HisFecha is UTC.
-- HisLogin is the program's login: the program fills it through a TEMP trigger that each of
-- its connections creates after the login (main triggers cannot see per-connection state);
-- a writer that is not the program leaves it empty, never without a line.
CREATE TABLE HORAS_HISTORIAL (HisId INTEGER PRIMARY KEY AUTOINCREMENT, HisFecha TEXT NOT NULL DEFAULT (strftime('%Y-%m-%d %H:%M:%f', 'now')), HisLogin TEXT, HisCuenta TEXT, HisTipo VARCHAR(10) NOT NULL, HisTabla VARCHAR(10) NOT NULL, HorId INTEGER, FunCedula VARCHAR(12), AreId VARCHAR(4), HisFilas INTEGER, HisHasta DATE, HisAntes TEXT, HisDespues TEXT, HisInstante REAL);
CREATE INDEX IX_HIST_HORID ON HORAS_HISTORIAL (HorId);
CREATE UNIQUE INDEX UX_HIST_ARCHIVO ON HORAS_HISTORIAL (HisInstante, AreId) WHERE HisTipo = 'Archivo';
CREATE VIEW HORAS_HISTORIAL_LECTURA AS SELECT * FROM HORAS_HISTORIAL;
CREATE TRIGGER TR_HORAS_HIST_CAMBIO AFTER UPDATE ON HORAS WHEN OLD.HorId IS NOT NEW.HorId OR OLD.FunCedula IS NOT NEW.FunCedula OR OLD.AreId IS NOT NEW.AreId OR OLD.ActId IS NOT NEW.ActId OR OLD.DesId IS NOT NEW.DesId OR OLD.FunInsId IS NOT NEW.FunInsId OR OLD.HorFecha IS NOT NEW.HorFecha OR OLD.HorSemana IS NOT NEW.HorSemana OR OLD.HorValorhora IS NOT NEW.HorValorhora OR OLD.HorHoras IS NOT NEW.HorHoras OR OLD.HorCategoria IS NOT NEW.HorCategoria OR OLD.TipId IS NOT NEW.TipId OR OLD.HorMoneda IS NOT NEW.HorMoneda OR OLD.HorHorarioInicial IS NOT NEW.HorHorarioInicial OR OLD.HorHorarioFinal IS NOT NEW.HorHorarioFinal
BEGIN
INSERT INTO HORAS_HISTORIAL (HisFecha, HisTipo, HisTabla, HorId, FunCedula, AreId, HisAntes, HisDespues) VALUES (strftime('%Y-%m-%d %H:%M:%f', 'now'), 'Cambio', 'HORAS', NEW.HorId, NEW.FunCedula, NEW.AreId, json_object('HorId', OLD.HorId, 'FunCedula', OLD.FunCedula, 'AreId', OLD.AreId, 'ActId', OLD.ActId, 'DesId', OLD.DesId, 'FunInsId', OLD.FunInsId, 'HorFecha', OLD.HorFecha, 'HorSemana', OLD.HorSemana, 'HorValorhora', OLD.HorValorhora, 'HorHoras', OLD.HorHoras, 'HorCategoria', OLD.HorCategoria, 'TipId', OLD.TipId, 'HorMoneda', OLD.HorMoneda, 'HorHorarioInicial', OLD.HorHorarioInicial, 'HorHorarioFinal', OLD.HorHorarioFinal), json_object('HorId', NEW.HorId, 'FunCedula', NEW.FunCedula, 'AreId', NEW.AreId, 'ActId', NEW.ActId, 'DesId', NEW.DesId, 'FunInsId', NEW.FunInsId, 'HorFecha', NEW.HorFecha, 'HorSemana', NEW.HorSemana, 'HorValorhora', NEW.HorValorhora, 'HorHoras', NEW.HorHoras, 'HorCategoria', NEW.HorCategoria, 'TipId', NEW.TipId, 'HorMoneda', NEW.HorMoneda, 'HorHorarioInicial', NEW.HorHorarioInicial, 'HorHorarioFinal', NEW.HorHorarioFinal));
END;
CREATE TRIGGER TR_HHORAS_HIST_CAMBIO AFTER UPDATE ON HHORAS WHEN OLD.HorId IS NOT NEW.HorId OR OLD.FunCedula IS NOT NEW.FunCedula OR OLD.AreId IS NOT NEW.AreId OR OLD.ActId IS NOT NEW.ActId OR OLD.DesId IS NOT NEW.DesId OR OLD.FunInsId IS NOT NEW.FunInsId OR OLD.HorFecha IS NOT NEW.HorFecha OR OLD.HorSemana IS NOT NEW.HorSemana OR OLD.HorValorhora IS NOT NEW.HorValorhora OR OLD.HorHoras IS NOT NEW.HorHoras OR OLD.HorCategoria IS NOT NEW.HorCategoria OR OLD.TipId IS NOT NEW.TipId OR OLD.HorMoneda IS NOT NEW.HorMoneda OR OLD.HorHorarioInicial IS NOT NEW.HorHorarioInicial OR OLD.HorHorarioFinal IS NOT NEW.HorHorarioFinal
BEGIN
INSERT INTO HORAS_HISTORIAL (HisFecha, HisTipo, HisTabla, HorId, FunCedula, AreId, HisAntes, HisDespues) VALUES (strftime('%Y-%m-%d %H:%M:%f', 'now'), 'Cambio', 'HHORAS', NEW.HorId, NEW.FunCedula, NEW.AreId, json_object('HorId', OLD.HorId, 'FunCedula', OLD.FunCedula, 'AreId', OLD.AreId, 'ActId', OLD.ActId, 'DesId', OLD.DesId, 'FunInsId', OLD.FunInsId, 'HorFecha', OLD.HorFecha, 'HorSemana', OLD.HorSemana, 'HorValorhora', OLD.HorValorhora, 'HorHoras', OLD.HorHoras, 'HorCategoria', OLD.HorCategoria, 'TipId', OLD.TipId, 'HorMoneda', OLD.HorMoneda, 'HorHorarioInicial', OLD.HorHorarioInicial, 'HorHorarioFinal', OLD.HorHorarioFinal), json_object('HorId', NEW.HorId, 'FunCedula', NEW.FunCedula, 'AreId', NEW.AreId, 'ActId', NEW.ActId, 'DesId', NEW.DesId, 'FunInsId', NEW.FunInsId, 'HorFecha', NEW.HorFecha, 'HorSemana', NEW.HorSemana, 'HorValorhora', NEW.HorValorhora, 'HorHoras', NEW.HorHoras, 'HorCategoria', NEW.HorCategoria, 'TipId', NEW.TipId, 'HorMoneda', NEW.HorMoneda, 'HorHorarioInicial', NEW.HorHorarioInicial, 'HorHorarioFinal', NEW.HorHorarioFinal));
END;
CREATE TRIGGER TR_HORAS_HIST_ALTA AFTER INSERT ON HORAS
BEGIN
INSERT INTO HORAS_HISTORIAL (HisFecha, HisTipo, HisTabla, HorId, FunCedula, AreId, HisDespues) VALUES (strftime('%Y-%m-%d %H:%M:%f', 'now'), 'Alta', 'HORAS', NEW.HorId, NEW.FunCedula, NEW.AreId, json_object('HorId', NEW.HorId, 'FunCedula', NEW.FunCedula, 'AreId', NEW.AreId, 'ActId', NEW.ActId, 'DesId', NEW.DesId, 'FunInsId', NEW.FunInsId, 'HorFecha', NEW.HorFecha, 'HorSemana', NEW.HorSemana, 'HorValorhora', NEW.HorValorhora, 'HorHoras', NEW.HorHoras, 'HorCategoria', NEW.HorCategoria, 'TipId', NEW.TipId, 'HorMoneda', NEW.HorMoneda, 'HorHorarioInicial', NEW.HorHorarioInicial, 'HorHorarioFinal', NEW.HorHorarioFinal));
END;
CREATE TRIGGER TR_HORAS_HIST_BAJA AFTER DELETE ON HORAS WHEN NOT EXISTS (SELECT 1 FROM HHORAS WHERE HorId = OLD.HorId)
BEGIN
INSERT INTO HORAS_HISTORIAL (HisFecha, HisTipo, HisTabla, HorId, FunCedula, AreId, HisAntes) VALUES (strftime('%Y-%m-%d %H:%M:%f', 'now'), 'Baja', 'HORAS', OLD.HorId, OLD.FunCedula, OLD.AreId, json_object('HorId', OLD.HorId, 'FunCedula', OLD.FunCedula, 'AreId', OLD.AreId, 'ActId', OLD.ActId, 'DesId', OLD.DesId, 'FunInsId', OLD.FunInsId, 'HorFecha', OLD.HorFecha, 'HorSemana', OLD.HorSemana, 'HorValorhora', OLD.HorValorhora, 'HorHoras', OLD.HorHoras, 'HorCategoria', OLD.HorCategoria, 'TipId', OLD.TipId, 'HorMoneda', OLD.HorMoneda, 'HorHorarioInicial', OLD.HorHorarioInicial, 'HorHorarioFinal', OLD.HorHorarioFinal));
END;
-- The archive: one line per area and statement. SQLite fires triggers per row, so the line
-- is written at the first archived row and counts, at that moment, the rows of the area that
-- stand in both tables: those the statement goes on to delete. The line is found again by
-- HisInstante, the time of day as a number (the same for every row of one statement, and
-- cheaper to compute per row than the text form); that look-up comes first, so that the
-- rows after the first stop there. Counting row by row would cost the close a third of its
-- time.
-- The program's own close does without these three (TR_HORAS_HIST_BAJA, TR_HORAS_HIST_ARCHIVO,
-- TR_HHORAS_HIST_ALTA): merely firing per moved row costs it a quarter of its time, so it
-- drops them inside its write transaction, writes its line and creates them again before
-- its commit (StoreSetup's archive triggers name them).
CREATE TRIGGER TR_HORAS_HIST_ARCHIVO AFTER DELETE ON HORAS WHEN NOT EXISTS (SELECT 1 FROM HORAS_HISTORIAL WHERE HisTipo = 'Archivo' AND HisInstante = julianday('now') AND AreId = OLD.AreId) AND EXISTS (SELECT 1 FROM HHORAS WHERE HorId = OLD.HorId)
BEGIN
INSERT INTO HORAS_HISTORIAL (HisFecha, HisInstante, HisTipo, HisTabla, AreId, HisFilas, HisHasta) SELECT strftime('%Y-%m-%d %H:%M:%f', 'now'), julianday('now'), 'Archivo', 'HORAS', OLD.AreId, 1 + COUNT(*), max(coalesce(MAX(H.HorFecha), OLD.HorFecha), OLD.HorFecha) FROM HORAS H WHERE H.AreId = OLD.AreId AND EXISTS (SELECT 1 FROM HHORAS X WHERE X.HorId = H.HorId);
END;
CREATE TRIGGER TR_HHORAS_HIST_ALTA AFTER INSERT ON HHORAS WHEN NOT EXISTS (SELECT 1 FROM HORAS WHERE HorId = NEW.HorId)
BEGIN
INSERT INTO HORAS_HISTORIAL (HisFecha, HisTipo, HisTabla, HorId, FunCedula, AreId, HisDespues) VALUES (strftime('%Y-%m-%d %H:%M:%f', 'now'), 'Alta', 'HHORAS', NEW.HorId, NEW.FunCedula, NEW.AreId, json_object('HorId', NEW.HorId, 'FunCedula', NEW.FunCedula, 'AreId', NEW.AreId, 'ActId', NEW.ActId, 'DesId', NEW.DesId, 'FunInsId', NEW.FunInsId, 'HorFecha', NEW.HorFecha, 'HorSemana', NEW.HorSemana, 'HorValorhora', NEW.HorValorhora, 'HorHoras', NEW.HorHoras, 'HorCategoria', NEW.HorCategoria, 'TipId', NEW.TipId, 'HorMoneda', NEW.HorMoneda, 'HorHorarioInicial', NEW.HorHorarioInicial, 'HorHorarioFinal', NEW.HorHorarioFinal));
END;
CREATE TRIGGER TR_HHORAS_HIST_BAJA AFTER DELETE ON HHORAS
BEGIN
INSERT INTO HORAS_HISTORIAL (HisFecha, HisTipo, HisTabla, HorId, FunCedula, AreId, HisAntes) VALUES (strftime('%Y-%m-%d %H:%M:%f', 'now'), 'Baja', 'HHORAS', OLD.HorId, OLD.FunCedula, OLD.AreId, json_object('HorId', OLD.HorId, 'FunCedula', OLD.FunCedula, 'AreId', OLD.AreId, 'ActId', OLD.ActId, 'DesId', OLD.DesId, 'FunInsId', OLD.FunInsId, 'HorFecha', OLD.HorFecha, 'HorSemana', OLD.HorSemana, 'HorValorhora', OLD.HorValorhora, 'HorHoras', OLD.HorHoras, 'HorCategoria', OLD.HorCategoria, 'TipId', OLD.TipId, 'HorMoneda', OLD.HorMoneda, 'HorHorarioInicial', OLD.HorHorarioInicial, 'HorHorarioFinal', OLD.HorHorarioFinal));
END;
