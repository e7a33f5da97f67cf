// The chart window on a fresh store: the data grid for each grouping (rows, series, labels
// merged without regard to case, cells added together, Nulls), the chart types keeping the
// data, copying, an empty result and a refused statement, and a very small window.

#include "AnalysisFixture.h"
#include "Session.h"
#include "WindowFixture.h"
#include "core/ChartGrid.h"
#include "core/StatisticsQuery.h"
#include "analysis/ChartView.h"
#include "analysis/ChartWindow.h"
#include "analysis/StatisticsTab.h"
#include "analysis/frmEstadisticasJefeArea.h"
#include "analysis/frmEstadisticasSuperUsuario.h"
#include "session/modPrincipal.h"
#include "store/Shape.h"
#include "ui/Application.h"

#include "ui/ScreenFit.h"

#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QClipboard>
#include <QLegendMarker>
#include <QPieSeries>
#include <QPieSlice>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

using namespace analysis_tests;
using analysis::ChartWindow;
using analysis::StatisticsTab;

namespace {

const int Y = QDate::currentDate().year();

// Archived hours. DO2 is described "DOCENCIA": the chart takes it as "Docencia". NUL has
// no description. The last record has no hours.
void fillStore(tests::TempStore &db)
{
    insertCatalogues(db);
    db.execNative(QStringLiteral("INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('DO2', 'DOCENCIA')"));
    db.execNative(QStringLiteral("INSERT INTO DESTINOS (DesId, DesDescripcion) VALUES ('EXT', 'Extensión')"));
    db.execNative(QStringLiteral("INSERT INTO DESTINOS (DesId, DesDescripcion) VALUES ('NUL', NULL)"));
    const QDate d(Y, 1, 10);
    const Hour hours[] = {
        {d, "DOC", "CLA", "COM", 2, 100, "Pesos Uruguayos"},
        {d, "DOC", "CLA", "COM", 3, 100, "Pesos Uruguayos", "EXT"},
        {d, "ADM", "TAR", "COM", 4, 100, "Pesos Uruguayos"},
        {d, "DO2", "CLA", "EXT", 1, 100, "Pesos Uruguayos"},
        {d, "ADM", "CLA", "COM", 1.5, 100, "Pesos Uruguayos", "NUL"},
        {d, "DOC", "TAR", "EXT", 0, 100, "Pesos Uruguayos", "CUR", true},
    };
    for (const Hour &h : hours)
        insertHour(db, h, "HHORAS");
}

// One line per row: its label, then each series' cell ("-" where nothing was stored).
QStringList describe(const core::ChartGrid &g)
{
    QStringList lines{QStringLiteral("|") + g.columnLabels().join(QLatin1Char('|'))};
    for (int r = 1; r <= g.rowCount(); ++r) {
        QStringList cells{g.rowLabel(r)};
        for (int c = 1; c <= g.columnCount(); ++c) {
            const auto v = g.cell(r, c);
            cells << (v ? QString::number(*v) : QStringLiteral("-"));
        }
        lines << cells.join(QLatin1Char('|'));
    }
    return lines;
}

// The chief's chart window on `consulta`, loaded and shown.
ChartWindow *openChart(const QString &consulta, const QString &agrupar = QStringLiteral("ActDescripcion"))
{
    auto *w = new frmEstadisticasJefeArea(consulta, agrupar);
    w->load();
    w->show();
    return w;
}

}  // namespace

class TestChart : public QObject {
    Q_OBJECT

    tests::WindowFixture m_fixture;
    ScriptedDialogs &dialogs() { return m_fixture.dialogs(); }

private slots:
    // Each function on the archived hours above, as a chief of DOC sees them.
    void init()
    {
        m_fixture.begin(tests::TempStore::Content::Schema);
        fillStore(m_fixture.store());
        tests::amendSession([&](core::Session &s) {
            s.area = QStringLiteral("DOC");
            s.role = 6;
        });
    }
    void cleanup() { m_fixture.end(); }

    void gridPerGrouping_data()
    {
        QTest::addColumn<QString>("agrupar");
        QTest::addColumn<QStringList>("grid");
        // Series: Docencia (DOC and DO2), Administración. Rows and series in the order their first
        // hour record was stored, on every store.
        const QString series = QStringLiteral("|Docencia|Administración");
        QTest::newRow("actividad") << "ActDescripcion" << QStringList{series, "Clases|6|1.5", "Tareas|0|4"};
        QTest::newRow("área") << "AreDescripcion" << QStringList{series, "Docencia|6|-", "Administración|-|5.5"};
        QTest::newRow("destino") << "DesDescripcion" << QStringList{series, "Cursos|3|4", "Extensión|3|-", "|-|1.5"};
        QTest::newRow("tipo") << "TipDescripcion" << QStringList{series, "Comunes|5|5.5", "Extra|1|-"};
    }
    void gridPerGrouping()
    {
        QFETCH(QString, agrupar);
        QFETCH(QStringList, grid);
        QPointer<ChartWindow> w = openChart(StatisticsTab::statement(), agrupar);
        QCOMPARE(dialogs().texts(), QStringList());
        QCOMPARE(describe(w->chart()->grid()), grid);
        QCOMPARE(w->chart()->grid().rowLabelLevels(), 1);
        QCOMPARE(w->chart()->grid().columnLabelLevels(), 1);
        for (int s = 1; s <= w->chart()->seriesCount(); ++s)
            QVERIFY(!w->chart()->markerVisible(s));
    }

    // Without a column field the grid has one column; the keys of the rows ignore case.
    void singleColumnAndCase()
    {
        store::ShapeRecordset rs(QStringLiteral("ChildCommand"), {"ActDescripcion", "HorHoras"});
        rs.append({store::Row{QStringLiteral("Clases"), 2.0}, {}});
        rs.append({store::Row{QStringLiteral("CLASES"), 1.0}, {}});
        rs.append({store::Row{QVariant(QMetaType::fromType<QString>()), QVariant(QMetaType::fromType<double>())}, {}});
        auto *w = new frmEstadisticasSuperUsuario(QString(), QString());
        w->CargarGrafica(rs, QStringLiteral("ActDescripcion"), QStringLiteral("HorHoras"), QString());
        QCOMPARE(describe(w->chart()->grid()), QStringList({"|", "Clases|3", "|0"}));
        delete w;
    }

    // The types redraw the same grid and keep the markers hidden; what is on screen can be
    // copied as a picture.
    void typesKeepDataAndCopy()
    {
        QPointer<ChartWindow> w = openChart(StatisticsTab::statement());
        QCOMPARE(w->objectName(), QStringLiteral("frmEstadisticasJefeArea"));
        QCOMPARE(w->windowTitle(), QStringLiteral("Estadísticas de empleo del tiempo de trabajo"));
        QVERIFY(w->findChild<QRadioButton *>(QStringLiteral("optTipo_1"))->isChecked());
        QCOMPARE(w->chart()->chartType(), 1);
        const QStringList before = describe(w->chart()->grid());
        const int types[] = {0, 1, 14, 4};
        const char *captions[] = {"Barras 3D", "Barras 2D", "Circulos", "Área 3D"};
        for (int i : {0, 2, 3, 1}) {
            auto *opt = w->findChild<QRadioButton *>(QStringLiteral("optTipo_%1").arg(i));
            QCOMPARE(opt->text(), QString::fromUtf8(captions[i]));
            opt->click();
            QCOMPARE(w->chart()->chartType(), types[i]);
            QCOMPARE(describe(w->chart()->grid()), before);
            for (int s = 1; s <= w->chart()->seriesCount(); ++s)
                QVERIFY(!w->chart()->markerVisible(s));
            QGuiApplication::clipboard()->clear();
            QTest::mouseClick(w->findChild<QPushButton *>(QStringLiteral("cmdCopiar")), Qt::LeftButton);
            const QImage copied = QGuiApplication::clipboard()->image();
            QVERIFY(!copied.isNull());
            QVERIFY(copied.width() > 100 && copied.height() > 100);
        }
        QCOMPARE(dialogs().count(), 0);
        QTest::keyClick(w, Qt::Key_Escape);
        QTRY_VERIFY(!w);
    }

    // An empty result and a statement the store refuses: the message, an empty chart, and a
    // window that stays open until cmdClose.
    void failedLoads_data()
    {
        QTest::addColumn<QString>("consulta");
        QTest::addColumn<QString>("message");
        QTest::newRow("vacío") << core::StatisticsQuery::statement(core::StatisticsQuery::Filter::Staff) << "ningún registro";
        QTest::newRow("rechazada") << StatisticsTab::statement().replace(QStringLiteral(" }"), QStringLiteral(" AND H.NOEXISTE=1 }")) << "";
        QTest::newRow("columna ausente") << QStringLiteral("SHAPE {SELECT AreDescripcion, HorHoras FROM HHORAS H, AREAS ARE "
                                                           "WHERE H.AREID=ARE.AREID} AS C COMPUTE C BY [AreDescripcion]") << "";
    }
    void failedLoads()
    {
        QFETCH(QString, consulta);
        QFETCH(QString, message);
        QPointer<ChartWindow> w = openChart(consulta);
        const ScriptedDialogs::Box box = dialogs().last();
        QCOMPARE(dialogs().count(), 1);
        QCOMPARE(box.icon, ui::Icon::Exclamation);
        QCOMPARE(box.title, ui::programTitle());
        QVERIFY2(!box.text.isEmpty() && box.text.contains(message), qPrintable(box.text));
        QVERIFY(w && w->isVisible());
        QCOMPARE(w->chart()->grid().rowCount(), 0);
        w->findChild<QRadioButton *>(QStringLiteral("optTipo_2"))->click();  // still usable
        QTest::mouseClick(w->findChild<QPushButton *>(QStringLiteral("cmdClose")), Qt::LeftButton);
        QTRY_VERIFY(!w);
        QCOMPARE(dialogs().count(), 1);
    }

    // At the size the window opens with, each type can be read: the window lies on the
    // screen with every caption whole, the names of the groups are not cut, the areas have
    // colours of their own and a legend, and pies show their hours. Grouped by area, the
    // pie is one pie of the areas rather than one whole slice per area.
    void readableAtOpening_data()
    {
        QTest::addColumn<QString>("agrupar");
        QTest::addColumn<int>("option");
        for (const char *grouping : {"ActDescripcion", "AreDescripcion"})
            for (int option = 0; option < 4; ++option)
                QTest::addRow("%s %d", grouping, option) << QString::fromLatin1(grouping) << option;
    }
    void readableAtOpening()
    {
        QFETCH(QString, agrupar);
        QFETCH(int, option);
        m_fixture.store().execNative(
            QStringLiteral("UPDATE ACTIVIDADES SET ActDescripcion = 'Cursos regulares de formación' WHERE ActId = 'CLA'"));
        QPointer<ChartWindow> w = openChart(StatisticsTab::statement(), agrupar);
        QVERIFY(QTest::qWaitForWindowExposed(w));
        w->findChild<QRadioButton *>(QStringLiteral("optTipo_%1").arg(option))->click();
        QCoreApplication::processEvents();
        QVERIFY(ui::frameOnScreen(w));
        QVERIFY2(ui::clippedTexts(w).isEmpty(), qPrintable(ui::clippedTexts(w).join(QLatin1Char('\n'))));
        const core::ChartGrid &g = w->chart()->grid();
        QVERIFY(g.rowCount() >= 2 && g.columnCount() >= 2);

        QChart *chart = w->chart()->findChild<QChartView *>()->chart();
        QList<QColor> colours;
        if (option == 2) {
            const auto pies = chart->series();
            if (agrupar == QLatin1String("AreDescripcion")) {
                QCOMPARE(pies.size(), 1);
                auto *pie = static_cast<QPieSeries *>(pies.first());
                QCOMPARE(pie->count(), g.rowCount());
                for (QPieSlice *slice : pie->slices()) {
                    QVERIFY(slice->isLabelVisible());
                    const double v = slice->value();
                    QVERIFY2(slice->label().contains(QLocale().toString(v, 'f', v == std::floor(v) ? 0 : 1)),
                             qPrintable(slice->label()));
                    colours << slice->color();
                }
            } else {
                QCOMPARE(pies.size(), g.rowCount());
                QSet<QString> named;
                for (QAbstractSeries *s : pies) {
                    for (QPieSlice *slice : static_cast<QPieSeries *>(s)->slices()) {
                        QVERIFY(slice->value() > 0);
                        if (slice->percentage() >= 0.06)
                            QVERIFY(slice->isLabelVisible());
                    }
                    for (QLegendMarker *m : chart->legend()->markers(s))
                        if (m->isVisible())
                            named.insert(m->label());
                }
                QCOMPARE(named, QSet<QString>(g.columnLabels().begin(), g.columnLabels().end()));
            }
        } else if (!w->chart()->drawingIn3D()) {
            // Two-dimensional bars, or the flat drawing of a three-dimensional type.
            for (QAbstractSeries *s : chart->series()) {
                if (auto *bars = qobject_cast<QBarSeries *>(s))
                    for (QBarSet *set : bars->barSets())
                        colours << set->color();
                else
                    colours << static_cast<QAbstractSeries *>(s)->property("color").value<QColor>();
            }
            QCOMPARE(colours.size(), g.columnCount());
            QVERIFY(chart->legend()->isVisible());
            if (option == 1) {
                auto *axis = qobject_cast<QBarCategoryAxis *>(chart->axes(Qt::Horizontal).first());
                QVERIFY(!axis->labelsTruncated());
            }
        }
        for (int i = 0; i < colours.size(); ++i)
            for (int j = i + 1; j < colours.size(); ++j)
                QVERIFY2(colours[i] != colours[j], qPrintable(colours[i].name()));
        QCOMPARE(dialogs().count(), 0);
    }

    // The controls follow the size of the window: the bottom row keeps to the right edge
    // in its order, each control as wide as its caption needs and at least as wide as
    // its least width, the chart above it; a very small window raises nothing.
    void resizing()
    {
        QPointer<ChartWindow> w = openChart(StatisticsTab::statement(), QStringLiteral("AreDescripcion"));
        const double px = w->logicalDpiX() / 1440.0;  // pixels per twip
        auto *close = w->findChild<QPushButton *>(QStringLiteral("cmdClose"));
        auto *copy = w->findChild<QPushButton *>(QStringLiteral("cmdCopiar"));
        auto *opt0 = w->findChild<QRadioButton *>(QStringLiteral("optTipo_0"));
        auto *opt3 = w->findChild<QRadioButton *>(QStringLiteral("optTipo_3"));
        w->resize(800, 600);
        QTRY_COMPARE(w->width(), 800);
        const int sw = qRound(800 / px);
        QVERIFY(qAbs(close->x() + close->width() - (sw - 180) * px) <= 2);
        QVERIFY(qAbs(w->height() - close->y() - close->height() - 180 * px) <= 2);
        QVERIFY(qAbs(close->x() - copy->x() - copy->width() - 180 * px) <= 2);
        QVERIFY(qAbs(copy->x() - opt3->x() - opt3->width() - 120 * px) <= 2);
        QVERIFY(close->width() >= qRound(720 * px) - 1 && opt0->width() >= qRound(1000 * px) - 1);
        QVERIFY(opt0->x() < opt3->x() && opt3->x() < copy->x() && copy->x() < close->x());
        QCOMPARE(close->y(), opt0->y());
        QVERIFY(qAbs(w->chart()->x() - 180 * px) <= 2);
        QVERIFY(qAbs(w->chart()->width() - (sw - 420) * px) <= 2);
        QVERIFY(qAbs(w->chart()->y() + w->chart()->height() - (opt0->y() - 60 * px)) <= 2);

        for (QSize size : {QSize(40, 30), QSize(1, 1), QSize(300, 20)}) {
            w->resize(size);
            QCoreApplication::processEvents();
        }
        for (int type = 0; type < 4; ++type)
            w->findChild<QRadioButton *>(QStringLiteral("optTipo_%1").arg(type))->click();
        QCOMPARE(dialogs().count(), 0);
        QVERIFY(w);
    }
};

TEMPALIA_TEST_MAIN(TestChart)
#include "tst_chart.moc"
