// Every window of every role, opened on the demo store on a real screen with a real window
// manager (run through desktop.sh): each must open with its frame inside the screen's free
// area, and every caption, heading and label of every tab must be shown whole.
//
// With TEMPALIA_SHOTS set to a folder, each window checked is also saved there as a PNG,
// named after its case (the pictures of the README come from here).
#include "ScriptedDialogs.h"
#include "Session.h"
#include "TempStore.h"
#include "WindowFixture.h"
#include "admin/frmAdministrador.h"
#include "analysis/ChartView.h"
#include "analysis/ChartWindow.h"
#include "analysis/StatisticsTab.h"
#include "session/frmAcercaDe.h"
#include "session/frmLogin.h"
#include "session/frmPresentacion.h"
#include "session/modPrincipal.h"
#include "ui/Application.h"
#include "ui/DataGrid.h"
#include "ui/KeyedToolBar.h"
#include "ui/ScreenFit.h"
#include "workspaces/frmJefeArea.h"
#include "workspaces/frmSuperUsuario.h"
#include "workspaces/frmUsuarioComun.h"

#include <QDir>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QTabWidget>
#include <QTest>
#include <QWindow>

#include <functional>
#include <memory>
#include <set>

namespace {

QString fileName(QString name)
{
    name = name.toLower();
    for (QChar &c : name)
        if (!c.isLetterOrNumber())
            c = QLatin1Char('-');
    return name;
}

// The windows on screen now, top-level and placed by the program (not menus or tips).
QList<QWidget *> openWindows()
{
    QList<QWidget *> windows;
    for (QWidget *w : QApplication::topLevelWidgets())
        if (w->isVisible() && (w->windowType() == Qt::Window || w->windowType() == Qt::Dialog))
            windows << w;
    return windows;
}

}  // namespace

class TstLayout : public QObject {
    Q_OBJECT

    tests::WindowFixture m_fixture;
    std::set<QWidget *> m_seen;
    QStringList m_faults;
    QString m_case;
    int m_windowsChecked = 0;

    // Waits until the window manager has framed the window and placed it, then checks
    // the frame and the texts of every tab of every tab widget in it.
    void check(QWidget *w, const QString &what)
    {
        QVERIFY2(QTest::qWaitForWindowExposed(w, 15000), qPrintable(what));
        // Framed: the window manager has reparented it and said what its frame adds.
        if (!(w->windowFlags() & Qt::FramelessWindowHint))
            QTRY_VERIFY2_WITH_TIMEOUT(w->windowHandle() && !w->windowHandle()->frameMargins().isNull(),
                                      qPrintable(what), 15000);
        // Placement settles: the program's second look once the frame is known, and on a
        // busy machine the window manager's own moves and resizes.
        QTest::qWait(700);
        for (int waited = 0; waited < 5000 && (!ui::frameOnScreen(w) || ui::frameGeometryOf(w).width() < ui::titleWidth(w));
             waited += 100)
            QTest::qWait(100);
        ++m_windowsChecked;
        if (!ui::frameOnScreen(w))
            m_faults << QStringLiteral("%1: el marco %2,%3 %4x%5 sale de la pantalla libre %6,%7 %8x%9")
                            .arg(what)
                            .arg(ui::frameGeometryOf(w).x())
                            .arg(ui::frameGeometryOf(w).y())
                            .arg(ui::frameGeometryOf(w).width())
                            .arg(ui::frameGeometryOf(w).height())
                            .arg(w->screen()->availableGeometry().x())
                            .arg(w->screen()->availableGeometry().y())
                            .arg(w->screen()->availableGeometry().width())
                            .arg(w->screen()->availableGeometry().height());
        if (ui::frameGeometryOf(w).width() < ui::titleWidth(w))
            m_faults << QStringLiteral("%1: el título «%2» no cabe en %3 puntos").arg(what, w->windowTitle())
                            .arg(ui::frameGeometryOf(w).width());
        auto checkTexts = [&](const QString &where) {
            QApplication::processEvents();
            for (const QString &c : ui::clippedTexts(w))
                m_faults << QStringLiteral("%1: %2").arg(where, c);
            shoot(w, where);
        };
        checkTexts(what);
        for (QTabWidget *tabs : w->findChildren<QTabWidget *>()) {
            const int was = tabs->currentIndex();
            for (int i = 0; i < tabs->count(); ++i) {
                if (i == was || !tabs->isTabEnabled(i))
                    continue;
                tabs->setCurrentIndex(i);
                checkTexts(QStringLiteral("%1 / %2").arg(what, tabs->tabText(i)));
            }
            tabs->setCurrentIndex(was);
        }
        m_seen.insert(w);
    }

    void shoot(QWidget *w, const QString &what)
    {
        const QString folder = qEnvironmentVariable("TEMPALIA_SHOTS");
        if (folder.isEmpty())
            return;
        QDir().mkpath(folder);
        const QRect f = ui::frameGeometryOf(w);
        w->screen()->grabWindow(0, f.x(), f.y(), f.width(), f.height())
            .save(QDir(folder).filePath(fileName(what) + QStringLiteral(".png")));
    }

    // Checks each window that has come on screen since the last look.
    void checkNewWindows(const QString &what)
    {
        QApplication::processEvents();
        for (QWidget *w : openWindows()) {
            if (m_seen.count(w))
                continue;
            const QString name = w->objectName().isEmpty() ? QString::fromLatin1(w->metaObject()->className())
                                                            : w->objectName();
            check(w, QStringLiteral("%1 %2").arg(what, name));
        }
    }

    void closeAll()
    {
        for (QWidget *w : openWindows())
            w->close();
        QApplication::processEvents();
        m_seen.clear();
    }

    void chartWindows(QWidget *main, const QString &what)
    {
        auto *stats = main->findChild<analysis::StatisticsTab *>();
        QVERIFY(stats);
        for (const char *grouping : {"actividades", "areas", "destinos", "tipos"}) {
            QVERIFY(stats->menuEntry(QString::fromLatin1(grouping)));
            QPointer<analysis::ChartWindow> chart = stats->chartWindow();
            QVERIFY(chart);
            for (int i = 0; i < 4; ++i) {
                auto *option = chart->findChild<QRadioButton *>(QStringLiteral("optTipo_%1").arg(i));
                option->click();
                QApplication::processEvents();
                m_seen.erase(chart.data());
                check(chart, QStringLiteral("%1 grafica %2 %3").arg(what, QLatin1String(grouping), option->text()));
            }
            chart->close();
            QApplication::processEvents();
        }
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(QGuiApplication::platformName() == QLatin1String("xcb"),
                 "run on a real X screen with a window manager (tests/layout/desktop.sh)");
    }
    void init()
    {
        m_fixture.begin();
        m_faults.clear();
        m_windowsChecked = 0;
    }
    void cleanup()
    {
        closeAll();
        m_fixture.end();
    }

    void everyWindowFits_data()
    {
        QTest::addColumn<int>("role");  // 0: before the login
        QTest::newRow("inicio") << 0;
        QTest::newRow("usuario") << 5;
        QTest::newRow("jefe") << 6;
        QTest::newRow("administrador") << 7;
        QTest::newRow("superusuario") << 8;
    }

    void everyWindowFits()
    {
        QFETCH(int, role);
        const QString who = QString::fromLatin1(QTest::currentDataTag());
        if (role == 0) {
            auto *login = new frmLogin;
            login->setAttribute(Qt::WA_DeleteOnClose);
            login->show();
            checkNewWindows(who);
            auto *presentation = new frmPresentacion;
            presentation->setAttribute(Qt::WA_DeleteOnClose);
            presentation->show();
            checkNewWindows(who);
            auto *about = new frmAcercaDe;
            about->setAttribute(Qt::WA_DeleteOnClose);
            about->show();
            checkNewWindows(who);
        } else if (role == 7) {
            tests::signInAs(role);
            auto *panel = new frmAdministrador;
            panel->setAttribute(Qt::WA_DeleteOnClose);
            panel->show();
            checkNewWindows(who);
            for (QPushButton *b : panel->findChildren<QPushButton *>()) {
                if (b->objectName() == QLatin1String("cmdSalir") || b->objectName() == QLatin1String("cmdAyuda"))
                    continue;
                b->click();
                checkNewWindows(QStringLiteral("%1 %2").arg(who, b->objectName()));
            }
        } else {
            tests::signInAs(role);
            QWidget *main = role == 5 ? static_cast<QWidget *>(new frmUsuarioComun)
                            : role == 6 ? static_cast<QWidget *>(new frmJefeArea)
                                        : static_cast<QWidget *>(new frmSuperUsuario);
            main->setAttribute(Qt::WA_DeleteOnClose);
            main->show();
            checkNewWindows(who);
            auto *bar = main->findChild<ui::KeyedToolBar *>(QStringLiteral("tbrBarraHerramientas"));
            QVERIFY(bar);
            auto *mes = main->findChild<ui::DataGrid *>(QStringLiteral("dtgMesActual"));
            if (mes && mes->rowCount() > 0)
                mes->clickRow(0);
            for (const char *key : {"nuevo", "modificar"}) {
                if (!bar->keys().contains(QLatin1String(key)) || !bar->isButtonEnabled(QLatin1String(key)))
                    continue;
                bar->trigger(QLatin1String(key));
                checkNewWindows(QStringLiteral("%1 %2").arg(who, QLatin1String(key)));
            }
            if (bar->menuKeys(QStringLiteral("imprimir")).isEmpty()) {
                bar->trigger(QStringLiteral("imprimir"));
                checkNewWindows(QStringLiteral("%1 imprimir").arg(who));
            } else {
                for (const QString &entry : bar->menuKeys(QStringLiteral("imprimir"))) {
                    bar->triggerMenuEntry(QStringLiteral("imprimir"), entry);
                    checkNewWindows(QStringLiteral("%1 imprimir %2").arg(who, entry));
                }
            }
            if (role != 5) {
                auto *comenzar = main->findChild<QPushButton *>(QStringLiteral("cmdComenzar"));
                auto *imprimir = main->findChild<QPushButton *>(QStringLiteral("cmdImprimir"));
                if (comenzar && imprimir) {
                    comenzar->click();
                    imprimir->click();
                    checkNewWindows(QStringLiteral("%1 presupuesto").arg(who));
                }
                chartWindows(main, who);
            }
        }
        QVERIFY(m_windowsChecked > 0);
        QVERIFY2(m_faults.isEmpty(), qPrintable(m_faults.join(QLatin1Char('\n'))));
    }
};

TEMPALIA_TEST_MAIN(TstLayout)
#include "tst_layout.moc"
