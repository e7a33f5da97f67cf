// The data control on a real store: reading, moving, writing, the key the store assigns,
// refused writes and the optimistic lock between two controls.
#include "StoreTestHelpers.h"
#include "TempStore.h"
#include "store/Connection.h"
#include "store/DataControl.h"
#include "ui/Application.h"
#include "ui/DataGrid.h"

#include <QDeadlineTimer>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTableView>
#include <QScopeGuard>
#include <QTest>

#include <random>

using namespace Qt::StringLiterals;
using store::DataControl;
using store::StoreError;
using store_tests::errorOf;

namespace {

// A control over `statement`, read as the windows read it.
struct Control : DataControl {
    Control(const QString &statement, const QString &name = u"adc"_s) : DataControl(name)
    {
        setRecordSource(statement);
        refresh();
    }
    QString text(const QString &column) { return value(column).toString(); }
};

// Adds `n` hour rows, copies of those already there.
void addHourRows(tests::TempStore &store, int n)
{
    const QString cols = u"FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, HorSemana, HorValorhora, HorHoras, "
                         "HorCategoria, TipId, HorMoneda"_s;
    for (int left = n; left > 0;) {
        const int copied = store.execNative(u"INSERT INTO HORAS (%1) SELECT %1 FROM HORAS ORDER BY HorId LIMIT %2"_s
                                                .arg(cols).arg(left));
        QVERIFY(copied > 0);
        left -= copied;
    }
}

}  // namespace

class TestDataControl : public QObject {
    Q_OBJECT
private slots:
    void positionsAndMoves()
    {
        tests::TempStore store;
        Control adc(u"SELECT * FROM AREAS ORDER BY AREID"_s);
        adc.refresh();  // twice, as the windows do: the same result
        QCOMPARE(adc.recordCount(), 3);
        QCOMPARE(adc.absolutePosition(), 1);
        QCOMPARE(adc.text(u"areid"_s), u"ADM"_s);
        adc.moveNext();
        QCOMPARE(adc.text(u"AreId"_s), u"DOC"_s);
        adc.moveLast();
        QCOMPARE(adc.absolutePosition(), 3);
        adc.moveNext();
        QVERIFY(adc.eof());
        QCOMPARE(adc.absolutePosition(), DataControl::PosEOF);
        QVERIFY_THROWS_EXCEPTION(StoreError, adc.value(u"AreId"_s));
        adc.moveFirst();
        adc.movePrevious();
        QVERIFY(adc.bof());
        QCOMPARE(adc.absolutePosition(), DataControl::PosBOF);
        QCOMPARE(errorOf([&] { adc.value(u"AreId"_s); }).number(), 3021);  // no current row

        // No rows: both ends at once, nowhere to move, the columns known all the same.
        Control none(u"SELECT * FROM HORAS WHERE FUNCEDULA='nadie'"_s);
        QCOMPARE(none.recordCount(), 0);
        QVERIFY(none.eof() && none.bof() && !none.hasCurrentRow());
        QVERIFY_THROWS_EXCEPTION(StoreError, none.moveFirst());
        QCOMPARE(none.fields().size(), 15);
    }

    void addNewLearnsAssignedKey()
    {
        tests::TempStore store;
        Control adc(u"SELECT * FROM HORAS"_s);
        const int before = store.count(u"HORAS"_s);
        // Someone else inserts meanwhile: our key must still be our own row's.
        store.execNative(u"INSERT INTO HORAS (FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, TipId) VALUES "
                         "('22222222', 'DOC', 'CLA', 'CUR', 1, '2026-01-05', 'COM')"_s);
        adc.addNew();
        QVERIFY(adc.absolutePosition() > 0);  // a new row counts as a row
        const QList<std::pair<QString, QVariant>> values{
            {u"FunCedula"_s, u"11111111"_s}, {u"AreId"_s, u"DOC"_s}, {u"ActId"_s, u"REU"_s}, {u"DesId"_s, u"CUR"_s},
            {u"FunInsId"_s, 1}, {u"HorFecha"_s, QDate(2026, 3, 4)}, {u"HorHoras"_s, u"2,5"_s}, {u"HorValorhora"_s, 350},
            {u"TipId"_s, u"COM"_s}, {u"HorHorarioInicial"_s, QTime(8, 30)}};
        for (const auto &[column, value] : values)
            adc.setValue(column, value);
        adc.update();
        const qlonglong key = adc.lastInsertedKey().toLongLong();
        QVERIFY(key > 0);
        QCOMPARE(store.count(u"HORAS"_s), before + 2);
        const store::Row row = store.selectNative(u"SELECT FunCedula, HorHoras, HorFecha, HorHorarioInicial FROM HORAS "
                                                   "WHERE HorId = ?"_s, {key}).rows.front();
        QCOMPARE(row.value(0).toString(), u"11111111"_s);
        QCOMPARE(row.value(1).toDouble(), 2.5);
        QCOMPARE(row.value(2).toDate(), QDate(2026, 3, 4));
        QCOMPARE(row.value(3).toTime(), QTime(8, 30));
        QCOMPARE(adc.value(u"HorId"_s).toLongLong(), key);
    }

    void refusedWriteKeepsRowInEdit_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("message");  // any of the words, split at '|'
        QTest::newRow("duplicate key") << "TipId" << QVariant(u"COM"_s) << "Ya existe un registro con esa clave.";
        QTest::newRow("empty key") << "TipId" << QVariant(QString()) << "Falta un valor obligatorio";
        QTest::newRow("key too long") << "TipId" << QVariant(u"ABCDE"_s) << "TipId|largo";
        QTest::newRow("factor not a number") << "TipPorcentaje" << QVariant(u"uno"_s) << "no es un número";
    }

    void refusedWriteKeepsRowInEdit()
    {
        QFETCH(QString, field);
        QFETCH(QVariant, value);
        QFETCH(QString, message);
        tests::TempStore store;
        Control adc(u"SELECT * FROM TIPOHORAS ORDER BY TIPDESCRIPCION ASC"_s);
        adc.addNew();
        adc.setValue(u"TipId"_s, u"NUE"_s);
        adc.setValue(u"TipDescripcion"_s, u"Nueva"_s);
        adc.setValue(u"TipPorcentaje"_s, 1.25);
        adc.setValue(field, value);
        const QString refusal = errorOf([&] { adc.update(); }).description();
        QVERIFY2(refusal.contains(QRegularExpression(message, QRegularExpression::CaseInsensitiveOption)), qPrintable(refusal));
        QVERIFY(adc.isNewRow() && adc.isEditing());
        QCOMPARE(adc.text(u"TipDescripcion"_s), u"Nueva"_s);
        QCOMPARE(store.count(u"TIPOHORAS"_s), 3);
        // Corrected, the same pending row goes in.
        adc.setValue(u"TipId"_s, u"NUE"_s);
        adc.setValue(u"TipPorcentaje"_s, u"1,25"_s);
        adc.update();
        QCOMPARE(store.count(u"TIPOHORAS"_s, u"TipId = 'NUE' AND TipPorcentaje = 1.25"_s), 1);
    }

    void updateAndDeleteReachTheStore()
    {
        tests::TempStore store;
        Control adc(u"SELECT * FROM AREAS ORDER BY AREID"_s);
        adc.setValue(u"AreDescripcion"_s, u"Administración O'Neill"_s);
        adc.update();
        QCOMPARE(store.scalar(u"SELECT AreDescripcion FROM AREAS WHERE AreId = 'ADM'"_s).toString(), u"Administración O'Neill"_s);
        // A key changed in place: the row is found by the key it was read with.
        adc.setValue(u"AreId"_s, u"AD2"_s);
        adc.update();
        QCOMPARE(store.count(u"AREAS"_s, u"AreId IN ('AD2', 'ADM')"_s), 1);
        QCOMPARE(store.count(u"AREAS"_s, u"AreId = 'AD2'"_s), 1);

        Control links(u"SELECT * FROM AREAS_ACTIVIDADES WHERE AREID='DOC' ORDER BY ACTID"_s);
        QCOMPARE(links.recordCount(), 3);
        links.deleteCurrent();
        QCOMPARE(store.count(u"AREAS_ACTIVIDADES"_s, u"AreId = 'DOC'"_s), 2);
        QCOMPARE(links.recordCount(), 2);
        QCOMPARE(links.absolutePosition(), 1);

        // A control over a join writes the table of its star; moving away saves what was typed.
        Control closes(u"SELECT CM.*, TRIM(F.FUNAPELLIDOS) + ',' + TRIM(F.FUNNOMBRES) FROM CIERREMESES CM, FUNCIONARIOS F "
                       "WHERE CM.FUNCEDULA=F.FUNCEDULA AND CM.AREID='DOC' ORDER BY CM.CIEMESANIOCIERRE, CM.CIEMESMESCIERRE"_s);
        QCOMPARE(closes.text(u"Expr1001"_s), u"Gómez,Jorge"_s);
        closes.moveLast();
        QCOMPARE(closes.value(u"CieMesAprobado"_s).toBool(), false);
        QSignalSpy writes(&closes, &DataControl::aboutToWrite);
        closes.setValue(u"CieMesComentarioJefeArea"_s, u"Cambiado"_s);
        closes.movePrevious();
        QVERIFY(writes.count() >= 1);
        QCOMPARE(store.count(u"CIERREMESES"_s, u"CieMesComentarioJefeArea = 'Cambiado'"_s), 1);
    }

    // A row another user changed (through a control of its own) or deleted since it was read:
    // the write is refused with what happened, the row stays in edit, and read again it saves.
    void anotherUserWentFirst_data()
    {
        QTest::addColumn<bool>("deleted");
        QTest::newRow("changed") << false;
        QTest::newRow("deleted") << true;
    }

    void anotherUserWentFirst()
    {
        QFETCH(bool, deleted);
        tests::TempStore store;
        const QString statement = u"SELECT * FROM HORAS WHERE FUNCEDULA='11111111' ORDER BY HORFECHA"_s;
        Control first(statement), second(statement);
        const qlonglong id = second.value(u"HorId"_s).toLongLong();
        const auto stored = [&] { return store.scalar(u"SELECT HorHoras FROM HORAS WHERE HorId = ?"_s, {id}).toDouble(); };
        if (deleted) {
            store.execNative(u"DELETE FROM HORAS_RUBROS_MATERIAS WHERE HorId = ?"_s, {id});
            store.execNative(u"DELETE FROM HORAS WHERE HorId = ?"_s, {id});
        } else {
            first.setValue(u"HorHoras"_s, 7);
            first.update();
        }
        second.setValue(u"HorHoras"_s, 9);
        const StoreError e = errorOf([&] { second.update(); });
        QCOMPARE(e.kind(), deleted ? StoreError::Kind::RowGone : StoreError::Kind::Conflict);
        QVERIFY(second.isEditing());
        if (deleted) {
            second.cancelUpdate();
            QCOMPARE(errorOf([&] { second.deleteCurrent(); }).kind(), StoreError::Kind::RowGone);
            return;
        }
        QVERIFY2(e.description().contains(u"Otro usuario"_s), qPrintable(e.description()));
        QCOMPARE(stored(), 7.0);
        second.refresh();
        second.setValue(u"HorHoras"_s, 9);
        second.update();
        QCOMPARE(stored(), 9.0);
    }

    // A refresh keeps the rows it holds while nobody committed since they were read, and reads
    // again after any commit, also one of a transaction that was open during the read.
    void refreshReadsAgainOnlyAfterACommit_data()
    {
        QTest::addColumn<QString>("change");
        QTest::newRow("nothing committed") << QString();
        QTest::newRow("another user updates") << u"update"_s;
        QTest::newRow("a transaction open during the read commits") << u"open transaction"_s;
    }

    void refreshReadsAgainOnlyAfterACommit()
    {
        QFETCH(QString, change);
        tests::TempStore store;
        const QString statement = u"SELECT * FROM HORAS WHERE FUNCEDULA='11111111' ORDER BY HORID"_s;
        const qlonglong id = store.scalar(u"SELECT MIN(HorId) FROM HORAS WHERE FunCedula = '11111111'"_s).toLongLong();
        const QString update = u"UPDATE HORAS SET HorSemana = 77 WHERE HorId = ?"_s;
        std::shared_ptr<store::Connection> other = store::Connection::open();
        if (change == u"open transaction"_s) {
            other->beginTransaction();
            other->executeNative(update, {id});
        }
        Control adc(statement);
        QVERIFY(adc.text(u"HorSemana"_s) != u"77"_s);
        if (change == u"open transaction"_s)
            other->commit();
        else if (change == u"update"_s)
            other->executeNative(update, {id});

        QStringList statements;
        store::Connection::setStatementObserver([&](const QString &sql) { statements << sql; });
        const auto observed = qScopeGuard([] { store::Connection::setStatementObserver({}); });
        if (!change.isEmpty()) {
            adc.refresh();
            QVERIFY(!statements.isEmpty());
            QCOMPARE(adc.text(u"HorSemana"_s), u"77"_s);
            return;
        }
        // A server's marker moves with a commit on any of its databases (the other tests run
        // beside this one): the case holds where the marker stood still around two refreshes;
        // the first settles the control on it, the second must then read nothing.
        bool quiet = false;
        for (QDeadlineTimer patience(20000); !quiet && !patience.hasExpired();) {
            const std::optional<QString> before = adc.connection().changeMarker();
            QVERIFY(before);
            adc.refresh();
            statements.clear();
            adc.refresh();
            quiet = adc.connection().changeMarker() == before;
        }
        QVERIFY2(quiet, "the store never stood still around two refreshes");
        QVERIFY2(statements.isEmpty(), qPrintable(statements.join(u'\n')));
        QVERIFY(adc.text(u"HorSemana"_s) != u"77"_s);
    }

    // Rows come from the driver a block at a time into buffers of each column's declared
    // size; a text longer than its column says, deep in a long list, is still read whole,
    // and the rows around it stay in their places, whether the list is read at once or
    // scrolled to it.
    void longTextIsReadWhole_data()
    {
        QTest::addColumn<bool>("scrolled");
        QTest::newRow("read at once") << false;
        QTest::newRow("scrolled to") << true;
    }

    void longTextIsReadWhole()
    {
        QFETCH(bool, scrolled);
        tests::TempStore store;
        addHourRows(store, 600);
        QList<qlonglong> ids;
        for (const store::Row &r : store.selectNative(u"SELECT HorId FROM HORAS ORDER BY HorId"_s).rows)
            ids << r[0].toLongLong();
        const int longRow = 400;  // past the first rows, the first chunk and the first block
        QVERIFY(ids.size() > longRow + 100);
        const QString text = QString(5000, QChar(0xF1)) + u"€ fin"_s;
        const QString statement = u"SELECT H.HORID, CASE WHEN H.HORID = %1 THEN '%2' ELSE H.HORMONEDA END AS TEXTO, "
                                  "H.HORFECHA FROM HORAS H ORDER BY H.HORID"_s.arg(ids[longRow]).arg(text);
        QList<qlonglong> seen;
        QString read;
        if (!scrolled) {
            const store::ResultSet rs = store.conn().select(statement);
            for (const store::Row &r : rs.rows)
                seen << r[0].toLongLong();
            read = rs.rows.at(longRow).at(1).toString();
        } else {
            Control adc(statement);
            QVERIFY(!adc.allFetched());
            for (; !adc.eof(); adc.moveNext()) {
                seen << adc.value(u"HorId"_s).toLongLong();
                if (seen.size() == longRow + 1)
                    read = adc.text(u"TEXTO"_s);
            }
        }
        QCOMPARE(read.size(), text.size());
        QCOMPARE(read, text);
        QCOMPARE(seen, ids);
    }

    void lazyReadOfLargeTable()
    {
        tests::TempStore store;
        addHourRows(store, 300);
        const int total = store.count(u"HORAS"_s);
        QVERIFY(total > 300);
        Control adc(u"SELECT * FROM HORAS"_s);
        QVERIFY(adc.fetchedCount() < total);  // opening reads only the first rows
        QCOMPARE(adc.recordCount(), total);   // counted, not read
        QVERIFY(!adc.allFetched());
        int seen = 1;
        for (adc.moveNext(); !adc.eof(); adc.moveNext()) {
            ++seen;
            // A move reads one more chunk at a time, never the whole rest.
            QVERIFY2(adc.fetchedCount() <= seen + 2 * store::RowCache::kLargestChunk, qPrintable(QString::number(seen)));
        }
        QCOMPARE(seen, total);
        QVERIFY(adc.allFetched());
    }

    // A grid over a long list, scrolled as a user does: the first scroll past the opening rows
    // reads one chunk, not the rest; scrolled page by page to the end every row shows once, in
    // the statement's order, also when a row was deleted on the way; and back at the top. The
    // rest of the list comes from one statement left open, which another user's write neither
    // waits for nor changes.
    void gridScrollReadsChunks_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("order");  // of the same rows' keys
        QTest::addColumn<bool>("deleteOnTheWay");
        QTest::addColumn<bool>("otherUserWrites");  // while the rest of the list is open
        const QString table = u"SELECT * FROM HORAS ORDER BY HORID"_s;
        QTest::newRow("table") << table << u"HorId"_s << false << false;
        QTest::newRow("join, descending") << u"SELECT H.HORID, H.HORSEMANA, T.TIPDESCRIPCION FROM TIPOHORAS T, HORAS H WHERE "
                                             "H.TIPID=T.TIPID ORDER BY H.HORID DESC"_s << u"HorId DESC"_s << false << false;
        QTest::newRow("row deleted after a scroll") << table << u"HorId"_s << true << false;
        QTest::newRow("another user writes while the rest is open") << table << u"HorId"_s << false << true;
    }

    void gridScrollReadsChunks()
    {
        QFETCH(QString, statement);
        QFETCH(QString, order);
        QFETCH(bool, deleteOnTheWay);
        QFETCH(bool, otherUserWrites);
        tests::TempStore store;
        const int before = store.count(u"HORAS"_s);
        addHourRows(store, 2500);
        const int total = store.count(u"HORAS"_s);
        QCOMPARE(total, before + 2500);
        Control adc(statement);
        ui::DataGrid grid;
        grid.setObjectName(u"dtgHoras"_s);
        grid.setColumns({ui::column(u"Id"_s, u"HorId"_s), ui::column(u"Semana"_s, u"HorSemana"_s)});
        grid.setDataSource(&adc);
        grid.resize(400, 300);
        grid.show();
        QVERIFY(QTest::qWaitForWindowExposed(&grid));
        QCOMPARE(adc.fetchedCount(), 50);
        // Refreshed on an unchanged store, the grid is left as it is (not laid out nor fitted
        // again); a change in the rows shown resets it.
        QSignalSpy resets(grid.view()->model(), &QAbstractItemModel::modelReset);
        adc.refresh();
        QCOMPARE(resets.count(), 0);
        store.execNative(u"UPDATE HORAS SET HorSemana = HorSemana + 1"_s);
        adc.refresh();
        QCOMPARE(resets.count(), 1);

        QScrollBar *bar = grid.view()->verticalScrollBar();
        const auto scroll = [&](QAbstractSlider::SliderAction action) {
            bar->triggerAction(action);
            QCoreApplication::processEvents();
        };
        QVERIFY(bar->maximum() > 0);
        QStringList statements;
        store::Connection::setStatementObserver([&](const QString &sql) { statements << sql; });
        const auto observerOff = qScopeGuard([] { store::Connection::setStatementObserver({}); });
        scroll(QAbstractSlider::SliderToMaximum);  // the bottom of what was read
        QCOMPARE(adc.fetchedCount(), 50 + store::RowCache::kFirstChunk);  // one chunk, not the other 2,400
        QCOMPARE(statements.size(), 1);  // the rest of the list, left open

        if (deleteOnTheWay) {
            // Two chunks further on, so that the deleted row stands in a chunk before the last;
            // each scroll reads one more chunk.
            for (int i = 0; i < 2; ++i) {
                const int fetched = adc.fetchedCount();
                scroll(QAbstractSlider::SliderToMaximum);
                QVERIFY(adc.fetchedCount() > fetched && adc.fetchedCount() <= fetched + store::RowCache::kLargestChunk);
            }
            grid.clickRow(60);
            const qlonglong gone = adc.value(u"HorId"_s).toLongLong();
            adc.deleteCurrent();
            QCOMPARE(store.count(u"HORAS"_s, u"HorId = ?"_s, {gone}), 0);
        }
        QList<qlonglong> expected;
        for (const store::Row &r : store.selectNative(u"SELECT HorId FROM HORAS ORDER BY "_s + order).rows)
            expected << r.value(0).toLongLong();
        QCOMPARE(expected.size(), total - (deleteOnTheWay ? 1 : 0));
        if (otherUserWrites) {
            // The rest stands open (its first chunk came from it); another user adds rows and
            // commits at once, and the list goes on as it was when its rest was opened.
            QCOMPARE(store.execNative(u"INSERT INTO HORAS (FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, TipId) "
                                      "SELECT FunCedula, AreId, ActId, DesId, FunInsId, HorFecha, TipId FROM HORAS "
                                      "ORDER BY HorId LIMIT 3"_s),
                     3);
            QCOMPARE(store.count(u"HORAS"_s), total + 3);
        }

        statements.clear();
        for (int steps = 0; bar->value() < bar->maximum() || adc.model()->canFetchMore({});) {
            scroll(QAbstractSlider::SliderPageStepAdd);
            QVERIFY2(++steps < 2 * total, "the scroll never reached the end");
        }
        QVERIFY(adc.allFetched());
        // One statement at most for all the chunks: none while the rest stays open, one to open
        // it again behind a deleted row.
        QVERIFY2(statements.size() <= (deleteOnTheWay ? 1 : 0), qPrintable(statements.join(u'\n')));
        QList<qlonglong> shown;
        for (int r = 0; r < grid.rowCount(); ++r)
            shown << grid.cellText(r, 0).toLongLong();
        QCOMPARE(shown, expected);
        // Shown at the bottom of the screen: the last row.
        QCOMPARE(grid.view()->rowAt(grid.view()->viewport()->height() - 2), grid.rowCount() - 1);

        scroll(QAbstractSlider::SliderToMinimum);
        QCOMPARE(grid.view()->rowAt(1), 0);
        QCOMPARE(grid.cellText(0, 0).toLongLong(), expected.first());
    }

    // The cache holds at most its capacity, whatever is looked at, and a dropped chunk read
    // again gives the rows it held.
    void rowCacheStaysBounded_data()
    {
        QTest::addColumn<bool>("jumps");
        QTest::newRow("down and back up") << false;
        QTest::newRow("jumps") << true;
    }

    void rowCacheStaysBounded()
    {
        QFETCH(bool, jumps);
        constexpr int rows = 20000;
        constexpr int capacity = 3000;
        int rowsRead = 0;
        store::RowCache cache(capacity);
        auto reader = [&](int offset, int count) {
            std::vector<store::Row> out;
            for (int i = offset; i < std::min(rows, offset + count); ++i)
                out.push_back(store::Row{QVariant(i)});
            rowsRead += int(out.size());
            return out;
        };
        cache.reset(reader(0, 50), false, reader);
        std::vector<int> order;
        std::mt19937 rng(7);
        if (jumps)
            QVERIFY(cache.reach(rows - 1));
        for (int i = 0; i < (jumps ? 5000 : 2 * rows); ++i)
            order.push_back(jumps ? int(rng() % rows) : i < rows ? i : 2 * rows - 1 - i);
        for (int i : order) {
            QVERIFY(cache.reach(i));
            QCOMPARE(cache.at(i).value(0).toInt(), i);
            QVERIFY2(cache.heldRows() <= capacity, qPrintable(QString::number(cache.heldRows())));
        }
        QVERIFY(!cache.reach(rows));
        QCOMPARE(cache.size(), rows);
        if (!jumps)
            QVERIFY(rowsRead < 3 * rows);  // each stretch read about twice: going down and coming back
    }
};

TEMPALIA_TEST_MAIN(TestDataControl)
#include "tst_datacontrol.moc"
