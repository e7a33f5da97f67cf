#include "ScriptedDialogs.h"
#include "ui/Application.h"
#include "ui/DatePicker.h"
#include "ui/Dialogs.h"
#include "ui/KeyedToolBar.h"
#include "ui/MaskedEdit.h"
#include "ui/Masks.h"
#include "ui/MonthView.h"
#include "ui/StatusPanels.h"
#include "ui/ScreenFit.h"

#include <QDialogButtonBox>
#include <QInputDialog>
#include <QPushButton>
#include <QMenu>
#include <QScreen>

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QProcess>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <cstdio>

using ui::Icon;

namespace {

const char kChildVariable[] = "TEMPALIA_UI_CHILD";

// Click a day of a calendar the way the user does: on its cell in the grid of days.
QTableView *daysOf(QCalendarWidget *calendar)
{
    return calendar->findChild<QTableView *>(QStringLiteral("qt_calendar_calendarview"));
}

QPoint selectedCell(QCalendarWidget *calendar)
{
    QTableView *view = daysOf(calendar);
    return view->visualRect(view->currentIndex()).center();
}

}  // namespace

class TstUi : public QObject {
    Q_OBJECT

private slots:
    // ---------------------------------------------------------------- week numbers
    void weekOfYear_data()
    {
        QTest::addColumn<QDate>("date");
        QTest::addColumn<int>("firstDay");
        QTest::addColumn<int>("week");

        // 1 January is in week 1 whatever its weekday; the next first day of the week starts week 2.
        QTest::newRow("year from Monday: second Monday") << QDate(2001, 1, 8) << 1 << 2;
        QTest::newRow("year from Monday: first Sunday") << QDate(2001, 1, 7) << 1 << 1;
        QTest::newRow("year from Sunday: 1 January") << QDate(2006, 1, 1) << 1 << 1;
        QTest::newRow("year from Sunday: 2 January") << QDate(2006, 1, 2) << 1 << 2;
        QTest::newRow("year from Thursday: Sunday") << QDate(2004, 1, 4) << 1 << 1;
        QTest::newRow("year from Thursday: Monday") << QDate(2004, 1, 5) << 1 << 2;
        // The end of the year is never week 1 of the next; a leap year from Sunday reaches 54.
        QTest::newRow("31 Dec 2001") << QDate(2001, 12, 31) << 1 << 53;
        QTest::newRow("1 Mar 2004 (leap)") << QDate(2004, 3, 1) << 1 << 10;
        QTest::newRow("31 Dec 2012") << QDate(2012, 12, 31) << 1 << 54;
        // Weeks that start on Sunday.
        QTest::newRow("Sunday start: first Saturday") << QDate(2012, 1, 7) << 7 << 1;
        QTest::newRow("Sunday start: second Sunday") << QDate(2012, 1, 8) << 7 << 2;
        QTest::newRow("Sunday start: 31 Dec 2000") << QDate(2000, 12, 31) << 7 << 54;
    }

    void weekOfYear()
    {
        QFETCH(QDate, date);
        QFETCH(int, firstDay);
        QFETCH(int, week);
        QCOMPARE(ui::MonthView::weekOfYear(date, Qt::DayOfWeek(firstDay)), week);
        if (firstDay == 1) {  // the control counts weeks from Monday; a null date doesn't move it
            ui::MonthView view;
            view.setValue(date);
            view.setValue(QDate());
            QCOMPARE(view.week(), week);
        }
    }

    // ---------------------------------------------------------------- masks
    void formatValue_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("mask");
        QTest::addColumn<QString>("text");

        QTest::newRow("half rounds up in decimal") << QVariant(2.675) << "0,00" << "2,68";
        QTest::newRow("tiny negative is zero") << QVariant(-0.004) << "0,00" << "0,00";
        QTest::newRow("number as store text") << QVariant(QStringLiteral("-1234.5")) << "0,0000" << "-1234,5000";
        QTest::newRow("text in a number field") << QVariant(QStringLiteral("abc")) << "0,00" << "abc";
        QTest::newRow("null date") << QVariant(QMetaType::fromType<QDate>()) << "d-MMM-yy" << "";
        QTest::newRow("H:mm") << QVariant(QTime(8, 5)) << "H:mm" << "8:05";
        QTest::newRow("HH:mm, store text") << QVariant(QStringLiteral("08:30:00")) << "HH:mm" << "08:30";
        QTest::newRow("time on a date") << QVariant(QDateTime(QDate(1899, 12, 30), QTime(17, 0))) << "H:mm" << "17:00";
        const QDate nov4(2001, 11, 4);
        QTest::newRow("d-MMM-yy") << QVariant(nov4) << "d-MMM-yy" << "4-nov-01";
        QTest::newRow("dd-MMM-yyyy") << QVariant(nov4) << "dd-MMM-yyyy" << "04-nov-2001";
        QTest::newRow("d/MM/yy") << QVariant(nov4) << "d/MM/yy" << "4/11/01";
        QTest::newRow("statement mask") << QVariant(nov4) << "mm-d-yy" << "11-4-01";
        QTest::newRow("September") << QVariant(QDate(1999, 9, 15)) << "d-MMM-yy" << "15-sep-99";
        QTest::newRow("date as store text") << QVariant(QStringLiteral("2001-11-04")) << "d-MMM-yy" << "4-nov-01";
        QTest::newRow("date and time") << QVariant(QDateTime(nov4, QTime(10, 0))) << "dd/MM/yy" << "04/11/01";
        QTest::newRow("yes/no true") << QVariant(true) << "" << "Si";
        QTest::newRow("yes/no false") << QVariant(false) << "" << "No";
        QTest::newRow("plain decimal") << QVariant(1.25) << "" << "1,25";
    }

    void formatValue()
    {
        QFETCH(QVariant, value);
        QFETCH(QString, mask);
        QFETCH(QString, text);
        QCOMPARE(ui::formatValue(value, mask), text);
    }

    void parseValue_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("mask");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QVariant>("value");

        QTest::newRow("keypad dot") << "1.5" << "0,00" << true << QVariant(1.5);
        QTest::newRow("grouped, negative") << "-1.234,5" << "0,0000" << true << QVariant(-1234.5);
        QTest::newRow("grouped by dots") << "1.234.567" << "0,00" << true << QVariant(1234567.0);
        QTest::newRow("blanks around") << " 12 " << "0,00" << true << QVariant(12.0);
        QTest::newRow("blank is null") << "  " << "0,00" << true << QVariant();
        QTest::newRow("two commas") << "1,2,3" << "0,00" << false << QVariant();
        QTest::newRow("bad grouping") << "12.34,5" << "0,00" << false << QVariant();
        QTest::newRow("comma alone") << "," << "0,00" << false << QVariant();
        QTest::newRow("HH:mm") << "08:30" << "HH:mm" << true << QVariant(QTime(8, 30));
        QTest::newRow("dot") << "8.30" << "H:mm" << true << QVariant(QTime(8, 30));
        QTest::newRow("no separator") << "1745" << "H:mm" << true << QVariant(QTime(17, 45));
        QTest::newRow("hour only") << "8" << "H:mm" << true << QVariant(QTime(8, 0));
        QTest::newRow("hour 24") << "24:00" << "H:mm" << false << QVariant();
        QTest::newRow("minute 75") << "8:75" << "H:mm" << false << QVariant();
        const QVariant nov4(QDate(2001, 11, 4));
        QTest::newRow("capitalised, four digits") << "4-Nov-2001" << "d-MMM-yy" << true << nov4;
        QTest::newRow("abbreviation with dot") << "4-nov.-01" << "d-MMM-yy" << true << nov4;
        QTest::newRow("full name") << "4 noviembre 2001" << "d-MMM-yy" << true << nov4;
        QTest::newRow("numbers with slashes") << "4/11/01" << "d-MMM-yy" << true << nov4;
        QTest::newRow("padded, dashes") << "04-11-2001" << "dd/MM/yy" << true << nov4;
        QTest::newRow("ISO") << "2001-11-04" << "d-M-yy" << true << nov4;
        QTest::newRow("set") << "15-set-99" << "d-MMM-yy" << true << QVariant(QDate(1999, 9, 15));
        QTest::newRow("sept") << "15-sept-99" << "d-MMM-yy" << true << QVariant(QDate(1999, 9, 15));
        QTest::newRow("00 is 2000 (leap)") << "29-feb-00" << "d-MMM-yy" << true << QVariant(QDate(2000, 2, 29));
        QTest::newRow("29 is 2029") << "1-1-29" << "d-M-yy" << true << QVariant(QDate(2029, 1, 1));
        QTest::newRow("30 is 1930") << "1-1-30" << "d-M-yy" << true << QVariant(QDate(1930, 1, 1));
        QTest::newRow("31 February") << "31-feb-01" << "d-MMM-yy" << false << QVariant();
        QTest::newRow("unknown month") << "4-xyz-01" << "d-MMM-yy" << false << QVariant();
        QTest::newRow("three-digit year") << "4-11-001" << "d-M-yy" << false << QVariant();
        QTest::newRow("junk between") << "4-11x-01" << "d-M-yy" << false << QVariant();
        QTest::newRow("no mask keeps the text") << " a b " << "" << true << QVariant(" a b ");
    }

    void parseValue()
    {
        QFETCH(QString, text);
        QFETCH(QString, mask);
        QFETCH(bool, ok);
        QFETCH(QVariant, value);
        bool parsed = !ok;
        const QVariant result = ui::parseValue(text, mask, &parsed);
        QCOMPARE(parsed, ok);
        if (value.typeId() == QMetaType::Double) {
            QCOMPARE(result.typeId(), int(QMetaType::Double));
            QCOMPARE(result.toDouble(), value.toDouble());
        } else {
            QCOMPARE(result, value);
        }
        if (!ok) {
            // The message names what was typed.
            QVERIFY(ui::badValueMessage(text, mask).contains(text.trimmed()));
        }
    }

    void datesRoundTripThroughEveryMask()
    {
        const auto roundTrip = [](const QVariant &v, const QString &mask) {
            bool ok = false;
            const QString text = ui::formatValue(v, mask);
            const QVariant back = ui::parseValue(text, mask, &ok);
            QVERIFY2(ok && back == v && !text.contains(QLatin1Char('.')), qPrintable(mask + QStringLiteral(": ") + text));
        };
        for (const char *mask : {"d-MMM-yy", "d-MMM-yyyy", "dd-MMM-yyyy", "dd/MM/yy", "d/MM/yy", "d-M-yy"})
            for (int year : {1930, 1999, 2000, 2029})
                for (int month = 1; month <= 12; ++month)
                    for (int day : {1, 9, 28})
                        roundTrip(QDate(year, month, day), QLatin1String(mask));
        for (double v : {0.0, 0.25, 12.75, 999.99, -7.5}) {
            roundTrip(v, QStringLiteral("0,00"));
            roundTrip(v, QStringLiteral("0,0000"));
        }
        for (const QTime &t : {QTime(0, 0), QTime(8, 5), QTime(23, 59)})
            roundTrip(t, QStringLiteral("H:mm"));
    }

    void maskedEditLimitsTypingNotDisplay()
    {
        ui::MaskedEdit edit(QStringLiteral("0,00"), 6);
        edit.setValue(1234.5);
        // Shown whole although it is longer than what can be typed.
        QCOMPARE(edit.text(), QStringLiteral("1234,50"));
        QCOMPARE(edit.value().toDouble(), 1234.5);

        edit.clear();
        QTest::keyClicks(&edit, QStringLiteral("12a3,4567"));
        QCOMPARE(edit.text(), QStringLiteral("123,45"));
        QCOMPARE(edit.value().toDouble(), 123.45);
        QVERIFY(edit.problem().isEmpty());

        // Shortening a long value is allowed.
        edit.setValue(1234.5);
        edit.end(false);
        QTest::keyClick(&edit, Qt::Key_Backspace);
        QCOMPARE(edit.text(), QStringLiteral("1234,5"));

        edit.setText(QStringLiteral("1,2,3"));
        bool ok = true;
        QVERIFY(!edit.value(&ok).isValid());
        QVERIFY(!ok);
        QVERIFY(edit.problem().contains(QStringLiteral("1,2,3")));

        edit.clear();
        QCOMPARE(edit.value(), QVariant());
    }

    // ---------------------------------------------------------------- date picker, calendars
    void datePickerHoldsNoDate()
    {
        ui::DatePicker picker(QStringLiteral("d-M-yy"));
        QSignalSpy changed(&picker, &ui::DatePicker::dateChanged);
        QVERIFY(picker.isBlank());
        picker.setDate(QDate(2001, 11, 4));
        QCOMPARE(picker.text(), QStringLiteral("4-11-01"));
        picker.setDisplayFormat(QStringLiteral("dd-MMM-yyyy"));
        QCOMPARE(picker.text(), QStringLiteral("04-nov-2001"));

        picker.setDate(QDate());
        QVERIFY(picker.date().isNull());
        QCOMPARE(picker.text(), QString());
        // Changes made by code are quiet.
        QCOMPARE(changed.count(), 0);
    }

    void datePickerTyping_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("blankAllowed");
        QTest::addColumn<QDate>("date");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<int>("boxes");

        const QDate start(2001, 11, 4);
        QTest::newRow("abbreviation") << "15-set-99" << false << QDate(1999, 9, 15) << "15-sep-99" << 0;
        QTest::newRow("numbers") << "1/2/2003" << false << QDate(2003, 2, 1) << "1-feb-03" << 0;
        QTest::newRow("no date") << "31-feb-01" << false << start << "4-nov-01" << 1;
        QTest::newRow("blank refused") << "" << false << start << "4-nov-01" << 1;
        QTest::newRow("blank allowed") << "" << true << QDate() << "" << 0;
    }

    void datePickerTyping()
    {
        QFETCH(QString, typed);
        QFETCH(bool, blankAllowed);
        QFETCH(QDate, date);
        QFETCH(QString, shown);
        QFETCH(int, boxes);

        InstalledDialogs dialogs;
        ui::DatePicker picker(QStringLiteral("d-MMM-yy"));
        picker.setBlankAllowed(blankAllowed);
        const QDate start(2001, 11, 4);
        picker.setDate(start);
        QSignalSpy changed(&picker, &ui::DatePicker::dateChanged);

        picker.lineEdit()->selectAll();
        QTest::keyClick(picker.lineEdit(), Qt::Key_Delete);
        QTest::keyClicks(picker.lineEdit(), typed);
        QTest::keyClick(picker.lineEdit(), Qt::Key_Return);

        QCOMPARE(picker.date(), date);
        QCOMPARE(picker.text(), shown);
        QCOMPARE(dialogs.count(), boxes);
        if (boxes) {
            QCOMPARE(dialogs.last().icon, Icon::Exclamation);
            QCOMPARE(dialogs.last().title, QStringLiteral("Quronda"));
            QVERIFY(dialogs.last().text.contains(typed.isEmpty() ? QStringLiteral("blanco") : typed));
            // The example of a good date is today's, in the box's own mask.
            QVERIFY2(dialogs.last().text.contains(QStringLiteral("por ejemplo %1.").arg(
                         ui::formatDate(QDate::currentDate(), QStringLiteral("d-MMM-yy")))),
                     qPrintable(dialogs.last().text));
        }
        // One signal per change of the date the user made, carrying the final date.
        if (date == start) {
            QCOMPARE(changed.count(), 0);
        } else {
            QVERIFY(changed.count() >= 1);
            QCOMPARE(changed.last().at(0).toDate(), date);
        }
    }

    void datePickerKeysAndCalendar()
    {
        QWidget window;
        auto *picker = new ui::DatePicker(QStringLiteral("d-M-yy"), &window);
        window.show();
        picker->setDate(QDate(2004, 2, 28));
        QSignalSpy changed(picker, &ui::DatePicker::dateChanged);

        QTest::keyClick(picker->lineEdit(), Qt::Key_Up);
        QCOMPARE(picker->date(), QDate(2004, 2, 29));
        QTest::keyClick(picker->lineEdit(), Qt::Key_PageUp);
        QCOMPARE(picker->date(), QDate(2004, 3, 29));
        QTest::keyClick(picker->lineEdit(), Qt::Key_Down);
        QCOMPARE(picker->date(), QDate(2004, 3, 28));
        QCOMPARE(picker->text(), QStringLiteral("28-3-04"));
        QCOMPARE(changed.count(), 3);

        // Picking a day in the calendar that drops down.
        picker->showCalendar();
        QCalendarWidget *calendar = picker->calendarWidget();
        QVERIFY(calendar->isVisible());
        QCOMPARE(calendar->selectedDate(), QDate(2004, 3, 28));
        calendar->setSelectedDate(QDate(2004, 3, 10));
        QTest::mouseClick(daysOf(calendar)->viewport(), Qt::LeftButton, {}, selectedCell(calendar));
        QCOMPARE(picker->date(), QDate(2004, 3, 10));
        QCOMPARE(changed.count(), 4);
        QVERIFY(!calendar->isVisible());

        // A disabled picker opens nothing.
        picker->setEnabled(false);
        picker->showCalendar();
        QVERIFY(!calendar->isVisible());
    }

    void calendarDoubleClick()
    {
        ui::Calendar calendar;
        calendar.show();
        calendar.setValue(QDate(2002, 5, 17));
        QSignalSpy doubled(&calendar, &ui::Calendar::doubleClicked);
        QWidget *days = daysOf(&calendar)->viewport();

        QTest::mouseClick(days, Qt::LeftButton, {}, selectedCell(&calendar));
        QCOMPARE(doubled.count(), 0);
        QTest::mouseDClick(days, Qt::LeftButton, {}, selectedCell(&calendar));
        QCOMPARE(doubled.count(), 1);
        QCOMPARE(doubled.at(0).at(0).toDate(), QDate(2002, 5, 17));
    }

    // A shown window with the hours workspace's buttons.
    void toolbarButtonsByKey()
    {
        QMainWindow window;
        auto *bar = new ui::KeyedToolBar(&window);
        QSignalSpy clicked(bar, &ui::KeyedToolBar::buttonClicked), chosen(bar, &ui::KeyedToolBar::menuEntryClicked);
        const QList<ui::KeyedToolBar::MenuEntry> sorts = {
            {"actividad", "Actividad"}, {"destino", "Destino"}, {"fecha", "Fecha"}, {"semana", "Semana"}, {"tipohora", "Tipo de hora"}};
        window.addToolBar(bar);
        bar->addButton("nuevo", "Nuevo", "Nuevo registro de horas");
        bar->addButton("eliminar", "Eliminar");
        bar->addButton("ordenar_asc", "Ascendente", "Orden ascendente por fecha", {}, sorts);
        bar->addButton("ordenar_des", "Descendete", "Orden descendente por fecha", {}, sorts);
        bar->addButton("salir", "Salir");
        window.show();
        QCOMPARE(bar->keys(), QStringList({"nuevo", "eliminar", "ordenar_asc", "ordenar_des", "salir"}));
        auto *nuevo = window.findChild<QToolButton *>("nuevo");
        QCOMPARE(nuevo->text(), QStringLiteral("Nuevo"));

        // A real click on a button, and on the face of a drop-down button.
        QTest::mouseClick(nuevo, Qt::LeftButton);
        QTest::mouseClick(bar->button("ordenar_asc"), Qt::LeftButton, {}, QPoint(4, 4));
        QCOMPARE(clicked.count(), 2);
        QCOMPARE(clicked.at(0).at(0).toString(), QStringLiteral("nuevo"));
        QCOMPARE(clicked.at(1).at(0).toString(), QStringLiteral("ordenar_asc"));
        QCOMPARE(chosen.count(), 0);

        // The menu entries, found by name, and chosen through the menu.
        window.findChild<QAction *>("ordenar_des_tipohora")->trigger();
        QVERIFY(bar->triggerMenuEntry("ordenar_asc", "fecha"));
        QCOMPARE(chosen.count(), 2);
        QCOMPARE(chosen.at(0), QVariantList({"ordenar_des", "tipohora"}));
        QCOMPARE(chosen.at(1), QVariantList({"ordenar_asc", "fecha"}));
        QCOMPARE(clicked.count(), 2);

        // The sort menus rename their button.
        bar->setButtonCaption("ordenar_des", "Tipo Hora");
        QCOMPARE(bar->button("ordenar_des")->text(), QStringLiteral("Tipo Hora"));

        QVERIFY(!bar->trigger("nada"));
        QVERIFY(!bar->triggerMenuEntry("ordenar_asc", "nada"));

        // Disabled buttons, and their menus, take no clicks.
        clicked.clear();
        chosen.clear();
        bar->setButtonEnabled("eliminar", false);
        bar->setButtonEnabled("ordenar_asc", false);
        QVERIFY(!bar->button("eliminar")->isEnabled());
        QVERIFY(!bar->trigger("eliminar"));
        QTest::mouseClick(bar->button("eliminar"), Qt::LeftButton);
        QVERIFY(!bar->trigger("ordenar_asc"));
        QVERIFY(!bar->triggerMenuEntry("ordenar_asc", "fecha"));
        QCOMPARE(clicked.count() + chosen.count(), 0);

        bar->setButtonEnabled("eliminar", true);
        QVERIFY(bar->trigger("eliminar"));
        QCOMPARE(clicked.count(), 1);

        // A disabled window takes no clicks either.
        window.setEnabled(false);
        QVERIFY(!bar->trigger("nuevo"));
        QCOMPARE(clicked.count(), 1);
    }

    void statusPanelsByKey()
    {
        QMainWindow window;
        auto *bar = new ui::StatusPanels(&window);
        window.setStatusBar(bar);
        for (const char *key : {"Usuario", "Area", "Acceso"})
            bar->addPanel(key);
        bar->addPanel("Fecha", ui::StatusPanels::Style::Date, 0);
        bar->addPanel("Hora", ui::StatusPanels::Style::Time, 0);
        window.show();

        bar->setPanelText("Acceso", "Tipo: 6");
        QCOMPARE(window.findChild<QLabel *>("Acceso")->text(), QStringLiteral("Tipo: 6"));
        QCOMPARE(bar->panelText("Area"), QString());
        QCOMPARE(bar->keys(), QStringList({"Usuario", "Area", "Acceso", "Fecha", "Hora"}));

        // The clock panels fill themselves.
        QCOMPARE(bar->panelText("Fecha"), QDate::currentDate().toString("dd/MM/yyyy"));
        QVERIFY(QTime::fromString(bar->panelText("Hora"), "H:mm").isValid());
        bar->showMessage("una ayuda");
        QVERIFY(bar->panel("Usuario")->isVisible());

        // The clock keeps clear of the window's right edge, its widest time whole.
        window.resize(1024, 200);
        QLabel *hora = bar->panel("Hora");
        QTRY_VERIFY(hora->geometry().right() < bar->width() - 2);
        hora->setText(QStringLiteral("23:58"));
        QVERIFY(ui::textFits(hora));
        QVERIFY2(ui::clippedTexts(&window).isEmpty(), qPrintable(ui::clippedTexts(&window).join('\n')));
    }

    // A window that would stand partly off the screen is brought inside its free area when
    // shown, shrunk if it is larger than the area, its title bar always on screen.
    void windowsOpenOnScreen_data()
    {
        QTest::addColumn<QPoint>("at");
        QTest::addColumn<QSize>("size");
        QTest::newRow("past the bottom right") << QPoint(10000, 10000) << QSize(400, 300);
        QTest::newRow("above the top left") << QPoint(-500, -500) << QSize(400, 300);
        QTest::newRow("larger than the screen") << QPoint(0, 0) << QSize(5000, 4000);
        QTest::newRow("never placed") << QPoint(-1, -1) << QSize(400, 3000);
    }
    void windowsOpenOnScreen()
    {
        QFETCH(QPoint, at);
        QFETCH(QSize, size);
        QWidget window;
        window.resize(size);
        if (at != QPoint(-1, -1))
            window.move(at);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(ui::frameOnScreen(&window));
        QVERIFY(window.frameGeometry().top() >= window.screen()->availableGeometry().top());
    }

    // A narrow dialog is widened so its title can be read in the title bar.
    void narrowWindowsShowTheirTitle()
    {
        QInputDialog dialog;
        dialog.setWindowTitle(QStringLiteral("Guardar como PDF"));
        dialog.setLabelText(QStringLiteral("Nombre:"));
        dialog.resize(120, 80);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QVERIFY(ui::titleWidth(&dialog) > dialog.fontMetrics().horizontalAdvance(dialog.windowTitle()));
        QVERIFY(dialog.width() >= ui::titleWidth(&dialog));
    }

    void placeInsideKeepsTitleBar()
    {
        const QRect area(0, 0, 1280, 1000);
        const QMargins frame(1, 24, 1, 4);
        QCOMPARE(ui::placeInside(area, frame, QPoint(1200, 900), QSize(400, 300), QSize()),
                 QRect(878, 672, 400, 300));
        // Too tall: shrunk to the area less the frame, down to its minimum size.
        QCOMPARE(ui::placeInside(area, frame, QPoint(10, 10), QSize(400, 1200), QSize()), QRect(10, 0, 400, 972));
        QCOMPARE(ui::placeInside(area, frame, QPoint(10, 10), QSize(400, 1200), QSize(0, 1100)),
                 QRect(10, 0, 400, 1100));
    }

    // The toolkit's own texts are Spanish: the menu of a text box, standard buttons.
    void toolkitSpeaksSpanish()
    {
        QCOMPARE(QCoreApplication::translate("QLineEdit", "&Undo"), QStringLiteral("&Deshacer"));
        QCOMPARE(QCoreApplication::translate("QLineEdit", "Select All"), QStringLiteral("Seleccionar todo"));
        QLineEdit edit;
        std::unique_ptr<QMenu> menu(edit.createStandardContextMenu());
        QStringList texts;
        for (QAction *a : menu->actions())
            if (!a->isSeparator())
                texts << a->text();
        QVERIFY2(!texts.join(QLatin1Char(' ')).contains(QStringLiteral("Paste")), qPrintable(texts.join(',')));
        QVERIFY(QDialogButtonBox(QDialogButtonBox::Cancel).button(QDialogButtonBox::Cancel)->text().contains(
            QStringLiteral("Cancelar")));
    }

    // A nested wait cursor puts back the hourglass it found.
    void waitCursorNests()
    {
        QVERIFY(!ui::isBusy());
        {
            ui::WaitCursor wait;
            { ui::WaitCursor inner; }
            QVERIFY(ui::isBusy());
        }
        QVERIFY(!ui::isBusy());
    }

    void realDialogsDoNotHangWithoutScreen()
    {
        if (QGuiApplication::platformName() != QLatin1String("offscreen"))
            QSKIP("only meaningful without a screen");
        auto previous = ui::setDialogs(std::make_unique<ui::QtDialogs>());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("sin pantalla"));
        const bool yes = ui::ask("¿Seguro?");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("sin pantalla"));
        const auto typed = ui::inputBox("Ruta");
        ui::setDialogs(std::move(previous));
        QVERIFY(!yes);
        QVERIFY(!typed);
    }

    void realEndProgramEndsProcessAtOnce()
    {
        QProcess child;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(kChildVariable, "1");
        env.insert("QT_QPA_PLATFORM", "offscreen");
        child.setProcessEnvironment(env);
        child.start(QCoreApplication::applicationFilePath(), {"endProgramChild"});
        QVERIFY(child.waitForFinished(60000));
        const QString out = QString::fromUtf8(child.readAllStandardOutput());
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        QCOMPARE(child.exitCode(), 0);
        QVERIFY2(out.contains("open-windows"), qPrintable(out));
        // Nothing ran after the call: not the rest of the handler, not the test's end.
        QVERIFY2(!out.contains("after-end"), qPrintable(out));
        QVERIFY2(!out.contains("Totals"), qPrintable(out));
    }

    // Runs only inside the child started above: ends the program from a handler while two
    // windows are open and a nested event loop runs, as "salir" does over an hours window.
    void endProgramChild()
    {
        if (qEnvironmentVariableIsEmpty(kChildVariable))
            QSKIP("runs inside realEndProgramEndsProcessAtOnce");
        ui::setDialogs(nullptr);
        QWidget main;
        main.show();
        QWidget other;
        other.show();
        QEventLoop nested;
        QTimer::singleShot(0, [&] {
            std::printf("open-windows\n");
            std::fflush(stdout);
            ui::endProgram();
            std::printf("after-end\n");
            nested.quit();
        });
        nested.exec();
        std::printf("after-end\n");
    }
};

int main(int argc, char *argv[])
{
    ui::Application app(argc, argv);
    TstUi test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ui.moc"
