// The printed reports on a fresh store: the month reports' person -> area -> hours nesting
// and totals checked against the store, the budget report's lines under their headings,
// page numbering on every page, the preview window (reopening, paging, PDF), and layout in
// batches for a long report.

#include "ScriptedDialogs.h"
#include "Session.h"
#include "TempStore.h"
#include "reports/ReportDesigns.h"
#include "reports/ReportEngine.h"
#include "reports/ReportPainter.h"
#include "output/ReportPreview.h"
#include "output/dtrPresupuestoJefeArea.h"
#include "output/dtrPresupuestoSuperUsuario.h"
#include "output/dtrReporteMesActualArea.h"
#include "output/dtrReporteMesActualGeneral.h"
#include "output/dtrReporteMesActualUsuario.h"
#include "session/modPrincipal.h"
#include "ui/Application.h"

#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QProcess>
#include <QSignalSpy>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QTest>
#include <QToolButton>

#include <functional>
#include <map>

using output::DisplayItem;
using output::ReportDocument;

namespace {

// What a month report holds for one person, read back from the display list.
struct Group {
    int details = 0;
    QString total;
};
struct Person {
    QString cedula;
    std::map<QString, Group> groups;  // by area description
    QStringList areaOrder;
    QString total;
    bool footerSeen = false;
};

// Walks the items in the order they were laid out and checks the nesting on the way:
// a detail only inside an area group, an area group only inside a person, every group
// closed by its total before the next begins, every person closed by their total.
QList<Person> readMonthReport(const ReportDocument &doc, QStringList *problems = nullptr)
{
    QStringList faults;
    QList<Person> people;
    QString openArea;
    QDate lastDate;
    for (int i = 0; i < doc.pageCount(); ++i) {
        for (const DisplayItem &item : doc.items(i)) {
            const QString key = item.section + QLatin1Char('/') + item.source;
            if (key == QLatin1String("Funcionarios_Header/FunCedula")) {
                if (!people.isEmpty() && !people.last().footerSeen)
                    faults << QStringLiteral("person without total: ") + people.last().cedula;
                people.append(Person{item.text, {}, {}, {}, false});
                openArea.clear();
                continue;
            }
            if (people.isEmpty())
                continue;
            Person &p = people.last();
            if (key == QLatin1String("MesActual_Grouping_Header/AREDESCRIPCION")) {
                if (!openArea.isEmpty() || p.footerSeen)
                    faults << QStringLiteral("area group out of place: ") + item.text;
                openArea = item.text;
                p.areaOrder << item.text;
                p.groups[item.text];
                lastDate = QDate();
            } else if (key == QLatin1String("MesActual_Detail/HORFECHA")) {
                if (openArea.isEmpty())
                    faults << QStringLiteral("hour row outside an area group");
                ++p.groups[openArea].details;
                const QDate date = QDate::fromString(item.text, QStringLiteral("dd/MM/yyyy"));
                if (!date.isValid() || (lastDate.isValid() && date < lastDate))
                    faults << QStringLiteral("hour rows out of date order: ") + item.text;
                lastDate = date;
            } else if (key == QLatin1String("MesActual_Grouping_Footer/SumaHoras")) {
                p.groups[openArea].total = item.text;
                openArea.clear();
            } else if (key == QLatin1String("Funcionarios_Footer/SumaHoras")) {
                if (!openArea.isEmpty())
                    faults << QStringLiteral("person total inside an open area group");
                p.total = item.text;
                p.footerSeen = true;
            }
        }
    }
    if (!people.isEmpty() && !people.last().footerSeen)
        faults << QStringLiteral("person without total: ") + people.last().cedula;
    if (problems)
        *problems = faults;
    else if (!faults.isEmpty())
        qWarning() << faults;
    return people;
}

// The report read back, with its nesting checked.
#define READ_MONTH_REPORT(people, doc)                                        \
    QStringList people##Faults;                                              \
    const QList<Person> people = readMonthReport((doc), &people##Faults);     \
    QVERIFY2(people##Faults.isEmpty(), qPrintable(people##Faults.join(u'\n')))

// The same, worked out by the store: per area the number of hour rows and their sum.
Person expectedPerson(tests::TempStore &db, const QString &cedula, const QString &areaId = {})
{
    Person p;
    p.cedula = cedula;
    p.footerSeen = true;
    QString sql = QStringLiteral(
        "SELECT A.AreDescripcion, COUNT(*), SUM(H.HorHoras) FROM HORAS H, AREAS A, ACTIVIDADES ACT, DESTINOS D, "
        "TIPOHORAS T WHERE H.AreId = A.AreId AND H.ActId = ACT.ActId AND H.DesId = D.DesId AND H.TipId = T.TipId "
        "AND H.FunCedula = ?");
    QVariantList values{cedula};
    if (!areaId.isEmpty()) {
        sql += QStringLiteral(" AND H.AreId = ?");
        values << areaId;
    }
    sql += QStringLiteral(" GROUP BY A.AreDescripcion");
    double total = 0;
    for (const store::Row &row : db.selectNative(sql, values).rows) {
        const double sum = row.at(2).toDouble();
        p.groups[row.at(0).toString()] = Group{row.at(1).toInt(), output::fieldText(sum)};
        total += sum;
    }
    p.total = output::fieldText(total);
    return p;
}

QString describe(const Person &p)
{
    QStringList parts{p.cedula};
    for (const auto &[area, g] : p.groups)
        parts << QStringLiteral("%1:%2:%3").arg(area).arg(g.details).arg(g.total);
    parts << QStringLiteral("total=") + p.total + (p.footerSeen ? QString() : QStringLiteral("(sin pie)"));
    return parts.join(QLatin1Char('|'));
}

QStringList allCedulas(tests::TempStore &db)
{
    QStringList out;
    for (const store::Row &row : db.selectNative(QStringLiteral("SELECT FunCedula FROM FUNCIONARIOS")).rows)
        out << row.at(0).toString();
    out.sort();
    return out;
}

// Every page: the page header at the top, the page footer with "%p de %P", and nothing laid
// over the footer or over another section.
void checkPages(const ReportDocument &doc, const QString &pageHeaderText)
{
    const int n = doc.pageCount();
    QVERIFY(n >= 1);
    for (int i = 0; i < n; ++i) {
        const output::DisplayPage &page = doc.pages[std::size_t(i)];
        const auto footer = [&](const char *source) {
            return doc.texts(i, QStringLiteral("PageFooter"), source ? QString::fromLatin1(source) : QString());
        };
        QVERIFY2(doc.texts(i, QStringLiteral("PageHeader")).contains(pageHeaderText), qPrintable(QString::number(i)));
        QCOMPARE(footer("%p"), QStringList{QString::number(i + 1)});
        QCOMPARE(footer("%P"), QStringList{QString::number(n)});
        QCOMPARE(footer("%D"), QStringList{output::longDate(QDate::currentDate())});
        QVERIFY(footer(nullptr).contains(QStringLiteral("de")) && footer(nullptr).contains(QStringLiteral("Número de página:")));
        int bottom = 0;
        for (const output::PlacedSection &s : page.sections) {
            QVERIFY2(s.top >= bottom, qPrintable(QStringLiteral("%1 overlaps on page %2").arg(s.name).arg(i + 1)));
            bottom = s.top + s.height;
            QVERIFY(bottom <= doc.pageSize.height() - output::ReportLayout::kBottomMargin);
        }
        // No rule is drawn across a text of its section (a field that broke into lines).
        const std::vector<DisplayItem> items = doc.items(i);
        for (const DisplayItem &rule : items) {
            if (rule.kind != DisplayItem::Kind::Rule)
                continue;
            for (const DisplayItem &text : items)
                QVERIFY2(text.kind != DisplayItem::Kind::Text || text.section != rule.section || text.text.isEmpty()
                             || rule.rect.top() <= text.rect.top() || rule.rect.top() >= text.rect.bottom(),
                         qPrintable(QStringLiteral("a rule crosses «%1» on page %2").arg(text.text).arg(i + 1)));
        }
        const QString first = page.sections.front().name;
        QVERIFY(first == QLatin1String("PageHeader") || (i == 0 && first == QLatin1String("ReportHeader")));
        QCOMPARE(page.sections.back().name, QStringLiteral("PageFooter"));
    }
}

template <class Report>
void closeReport()
{
    if (Report *r = Report::current())
        r->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(Report::current() == nullptr);
}

const QString kBudgetHead = QStringLiteral(
    "SELECT SUM(H.HORHORAS), SUM(H.HORVALORHORA*(H.HORHORAS*T.TIPPORCENTAJE)), H.HORMONEDA, T.TIPDESCRIPCION, "
    "D.DESDESCRIPCION, ACT.ACTDESCRIPCION FROM TIPOHORAS T, HORAS H, ACTIVIDADES ACT, AREAS ARE, DESTINOS D WHERE "
    "H.ACTID=ACT.ACTID AND H.AREID=ARE.AREID AND H.DESID=D.DESID AND H.TIPID=T.TIPID");
const QString kBudgetTail =
    QStringLiteral(" GROUP BY H.HORMONEDA, T.TIPDESCRIPCION, D.DESDESCRIPCION, ACT.ACTDESCRIPCION");

void addPerson(tests::TempStore &db, const QString &cedula)
{
    db.execNative(QStringLiteral("INSERT INTO FUNCIONARIOS (FunCedula, FunNombres, FunApellidos) VALUES (?, ?, ?)"),
                  {cedula, QStringLiteral("Sin"), QStringLiteral("Horas")});
}

}  // namespace

class TestReports : public QObject {
    Q_OBJECT
private slots:
    void cleanup();

    void monthReport_data();
    void monthReport();
    void budgetReport_data();
    void budgetReport();
    void reopeningBringsForwardWithFixedData();
    void previewPagesAndPdf();
    void longReportIsLaidOutInBatches();
    void textIsDrawnAndMeasuredAsLaidOut_data();
    void textIsDrawnAndMeasuredAsLaidOut();
};

void TestReports::cleanup()
{
    closeReport<dtrReporteMesActualUsuario>();
    closeReport<dtrReporteMesActualArea>();
    closeReport<dtrReporteMesActualGeneral>();
    closeReport<dtrPresupuestoJefeArea>();
    closeReport<dtrPresupuestoSuperUsuario>();
}

// Each month report read back against the store: every person it should hold, each with
// their areas, hour rows and totals; the person report's sections in order.
void TestReports::monthReport_data()
{
    QTest::addColumn<QString>("kind");  // person, area or general
    QTest::addColumn<QString>("key");   // the person's cedula or the area
    QTest::newRow("person, one area") << "person" << "11111111";
    QTest::newRow("person, two areas") << "person" << "55555555";
    QTest::newRow("person without hours") << "person" << "12121212";
    QTest::newRow("area") << "area" << "INV";
    QTest::newRow("area without hours") << "area" << "XXX";
    QTest::newRow("general") << "general" << QString();
}

void TestReports::monthReport()
{
    QFETCH(QString, kind);
    QFETCH(QString, key);
    tests::TempStore db;
    addPerson(db, QStringLiteral("12121212"));
    db.execNative(QStringLiteral("INSERT INTO AREAS (AreId, AreDescripcion) VALUES ('XXX', 'Sin horas')"));
    tests::amendSession([&](core::Session &s) {
        s.person = QStringLiteral("11111111");  // the parameter wins over the session
        s.area = key;
    });
    const bool person = kind == QLatin1String("person");
    output::ReportPreview *report = nullptr;
    if (person)
        report = dtrReporteMesActualUsuario::open(key);
    else if (kind == QLatin1String("area"))
        report = dtrReporteMesActualArea::open();
    else
        report = dtrReporteMesActualGeneral::open();
    QVERIFY(report && report->isVisible());
    report->finishLayout();
    const ReportDocument &doc = report->document();
    checkPages(doc, QStringLiteral("REPORTE DE HORAS TRABAJADAS"));

    READ_MONTH_REPORT(people, doc);
    QStringList cedulas;
    for (const Person &p : people) {
        cedulas << p.cedula;
        QCOMPARE(describe(p), describe(expectedPerson(db, p.cedula, kind == QLatin1String("area") ? key : QString())));
    }
    cedulas.sort();
    QCOMPARE(cedulas, person ? QStringList{key} : allCedulas(db));
    if (key == QLatin1String("55555555"))
        QCOMPARE(people.first().groups.size(), std::size_t(2));
    if (kind == QLatin1String("general")) {
        QVERIFY2(doc.pageCount() > 2, "the demo's hours fill several pages");
        // The report header is empty (height 0) and the report footer comes once, at the end.
        QCOMPARE(doc.sectionSequence().count(QStringLiteral("ReportHeader")), 0);
        QCOMPARE(doc.sectionSequence().count(QStringLiteral("ReportFooter")), 1);
        const auto &last = doc.pages.back().sections;
        QCOMPARE(last.at(last.size() - 2).name, QStringLiteral("ReportFooter"));
    }
    if (!person)
        return;
    QCOMPARE(report->windowTitle(), QStringLiteral("Reporte de horas realizadas durante el mes en curso"));
    const QStringList header = doc.texts(0, QStringLiteral("Funcionarios_Header"));
    QCOMPARE(header.size(), 3);
    QCOMPARE(header.at(0), key);
    // Sections in order, pages aside: header, areas, the person's total, the report footer.
    QStringList order = doc.sectionSequence();
    order.removeAll(QStringLiteral("PageHeader"));
    order.removeAll(QStringLiteral("PageFooter"));
    order.removeDuplicates();
    QStringList want{QStringLiteral("Funcionarios_Header")};
    if (key != QLatin1String("12121212"))
        want << QStringLiteral("MesActual_Grouping_Header") << QStringLiteral("MesActual_Detail")
             << QStringLiteral("MesActual_Grouping_Footer");
    want << QStringLiteral("Funcionarios_Footer") << QStringLiteral("ReportFooter");
    QCOMPARE(order, want);
}

void TestReports::budgetReport_data()
{
    QTest::addColumn<bool>("chief");
    QTest::addColumn<QString>("statement");
    QTest::newRow("chief, own area") << true << kBudgetHead + QStringLiteral(" AND H.AREID='DOC'") + kBudgetTail;
    QTest::newRow("super user, all areas, two currencies") << false << kBudgetHead + kBudgetTail;
    QTest::newRow("no rows") << false << kBudgetHead + QStringLiteral(" AND H.AREID='XXX'") + kBudgetTail;
    QTest::newRow("no query made yet") << false << QString();
}

void TestReports::budgetReport()
{
    QFETCH(bool, chief);
    QFETCH(QString, statement);
    tests::TempStore db;
    output::ReportPreview *report = chief ? static_cast<output::ReportPreview *>(dtrPresupuestoJefeArea::open(statement))
                                          : dtrPresupuestoSuperUsuario::open(statement);
    QCOMPARE(report->windowTitle(), QStringLiteral("Presupuesto de horas trabajadas"));
    report->finishLayout();
    const ReportDocument &doc = report->document();

    QList<QStringList> expected;
    if (!statement.isEmpty()) {
        for (const store::Row &row : db.select(statement).rows) {
            QStringList line;
            for (const QVariant &v : row)
                line << output::fieldText(v);
            expected << line;
        }
    }
    if (QTest::currentDataTag() == QByteArray("super user, all areas, two currencies")) {
        int dollars = 0;
        for (const QStringList &l : expected)
            dollars += l.at(2) == QLatin1String("Dolares") ? 1 : 0;
        QVERIFY(dollars > 0 && dollars < expected.size());
    }

    // The title once, on the first page; the headings on every page; each line's values
    // under their headings, in the statement's order; nothing else (no totals).
    QCOMPARE(doc.texts(0, QStringLiteral("ReportHeader")), QStringList{"PRESUPUESTO DE HORAS"});
    QCOMPARE(doc.sectionSequence().count(QStringLiteral("ReportHeader")), 1);
    const QStringList headings{"HORAS", "IMPORTE", "MONEDA", "TIPO DE HORAS", "DESTINO", "ACTIVIDAD"};
    QList<QStringList> lines;
    for (int i = 0; i < doc.pageCount(); ++i) {
        QCOMPARE(doc.texts(i, QStringLiteral("PageHeader")), headings);
        const std::vector<DisplayItem> items = doc.items(i);
        std::vector<int> headingLeft;
        int headerBottom = 0;
        for (const DisplayItem &item : items) {
            if (item.section == QLatin1String("PageHeader") && item.kind == DisplayItem::Kind::Text) {
                headingLeft.push_back(item.rect.left());
                headerBottom = std::max(headerBottom, item.rect.bottom());
            }
        }
        QStringList line;
        int lastLineBottom = 0, nextLineTop = 0;
        for (const DisplayItem &item : items) {
            if (item.kind != DisplayItem::Kind::Text)
                continue;
            if (item.section == QLatin1String("Presupuesto_Detail")) {
                QCOMPARE(item.rect.left(), headingLeft.at(std::size_t(line.size())));
                QVERIFY(item.rect.top() > headerBottom);
                // Whole within its column: a long text ("Pesos Uruguayos", a long activity)
                // breaks into lines and its line grows, never past the next column or the
                // report's right edge.
                QVERIFY(item.wraps);
                const QRect need = QFontMetrics(output::reportFont(item.font))
                                       .boundingRect(item.rect, Qt::TextWordWrap, item.text);
                QVERIFY2(need.width() <= item.rect.width() && need.height() <= item.rect.height(),
                         qPrintable(item.text));
                QVERIFY(item.rect.right() <= output::ReportLayout().leftMargin() + 9360);
                QVERIFY(item.rect.top() >= lastLineBottom);
                if (line.size() == 5)
                    nextLineTop = std::max(nextLineTop, item.rect.bottom());
                line << item.text;
                if (line.size() == 6) {
                    lines << line;
                    line.clear();
                    lastLineBottom = nextLineTop;
                }
            } else {
                QVERIFY2(QStringList({"ReportHeader", "PageHeader", "PageFooter"}).contains(item.section),
                         qPrintable(item.section + QStringLiteral(": ") + item.text));
            }
        }
        QVERIFY(line.isEmpty());
        QCOMPARE(doc.texts(i, QStringLiteral("PageFooter")), QStringList{output::longDate(QDate::currentDate())});
    }
    QCOMPARE(lines, expected);
}

void TestReports::reopeningBringsForwardWithFixedData()
{
    tests::TempStore db;
    addPerson(db, QStringLiteral("12121212"));
    tests::amendSession([&](core::Session &s) { s.person = QStringLiteral("11111111"); });
    dtrReporteMesActualUsuario *first = dtrReporteMesActualUsuario::open();
    first->finishLayout();
    QCOMPARE(readMonthReport(first->document()).first().cedula, QStringLiteral("11111111"));

    // A "cambio" to another person while the preview is open: opening again only brings the
    // open one forward, with the data it was made with.
    tests::amendSession([&](core::Session &s) { s.person = QStringLiteral("12121212"); });
    dtrReporteMesActualUsuario *again = dtrReporteMesActualUsuario::open();
    QCOMPARE(again, first);
    QCOMPARE(readMonthReport(again->document()).first().cedula, QStringLiteral("11111111"));

    // Another report opens beside it.
    dtrReporteMesActualGeneral *general = dtrReporteMesActualGeneral::open();
    QVERIFY(general->isVisible() && first->isVisible());

    // Closed, it is made anew with the values of that moment.
    closeReport<dtrReporteMesActualUsuario>();
    dtrReporteMesActualUsuario *fresh = dtrReporteMesActualUsuario::open();
    fresh->finishLayout();
    QCOMPARE(readMonthReport(fresh->document()).first().cedula, QStringLiteral("12121212"));

    // Trailing blanks in the session's person reach the statement as they are; the store's comparison
    // decides whether the person is found.
    closeReport<dtrReporteMesActualUsuario>();
    tests::amendSession([&](core::Session &s) { s.person = QStringLiteral("11111111  "); });
    const int matches =
        int(db.select(QStringLiteral("SELECT * FROM FUNCIONARIOS WHERE FUNCEDULA='11111111  '")).rows.size());
    dtrReporteMesActualUsuario *blanks = dtrReporteMesActualUsuario::open();
    blanks->finishLayout();
    READ_MONTH_REPORT(people, blanks->document());
    QCOMPARE(people.size(), matches);
    if (matches == 1)
        QCOMPARE(describe(people.first()), describe(expectedPerson(db, people.first().cedula)));
    else
        QCOMPARE(blanks->document().sectionSequence().filter(QStringLiteral("Funcionarios")), QStringList());
}

void TestReports::previewPagesAndPdf()
{
    tests::TempStore db;
    InstalledDialogs dialogs;
    dtrReporteMesActualGeneral *report = dtrReporteMesActualGeneral::open();
    QVERIFY(QTest::qWaitForWindowExposed(report) || report->isVisible());
    QTRY_VERIFY(report->isLaidOut());
    const int pages = report->document().pageCount();
    auto *label = report->findChild<QLabel *>(QStringLiteral("pageLabel"));
    auto *next = report->findChild<QToolButton *>(QStringLiteral("nextPage"));
    auto *last = report->findChild<QToolButton *>(QStringLiteral("lastPage"));
    auto *previous = report->findChild<QToolButton *>(QStringLiteral("previousPage"));
    QVERIFY(label && next && last && previous);
    QCOMPARE(label->text(), QStringLiteral("Página 1 de %1").arg(pages));
    QVERIFY(!previous->isEnabled());
    QTest::mouseClick(next, Qt::LeftButton);
    QCOMPARE(report->currentPage(), 1);
    QTest::mouseClick(last, Qt::LeftButton);
    QCOMPARE(label->text(), QStringLiteral("Página %1 de %1").arg(pages));
    QVERIFY(!next->isEnabled());
    QTest::keyClick(report, Qt::Key_PageUp);
    QCOMPARE(report->currentPage(), pages - 2);

    // Saved as PDF through the input box; an existing file is replaced only after a Yes.
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("horas"));
    dialogs.typeNext(path);
    QTest::mouseClick(report->findChild<QToolButton *>(QStringLiteral("savePdf")), Qt::LeftButton);
    const QString pdf = path + QStringLiteral(".pdf");
    QVERIFY(QFileInfo(pdf).size() > 0);
    QCOMPARE(dialogs.count(), 1);

    QFile::resize(pdf, 0);
    dialogs.typeNext(pdf);  // the question that follows gets the default No
    QVERIFY(!report->savePdf());
    QCOMPARE(QFileInfo(pdf).size(), 0);
    QVERIFY(dialogs.last().text.contains(QStringLiteral("ya existe")));
    dialogs.typeNext(pdf);
    dialogs.answerNext(ui::Answer::Yes);
    QVERIFY(report->savePdf());
    QVERIFY(QFileInfo(pdf).size() > 0);

    // A folder that does not exist: a message, nothing written.
    dialogs.typeNext(dir.filePath(QStringLiteral("no/existe/horas.pdf")));
    QVERIFY(!report->savePdf());
    QVERIFY(dialogs.last().text.startsWith(QStringLiteral("No se pudo guardar el archivo")));

    // The text of the PDF, where the tool to read it is installed.
    const QString pdftotext = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
    if (pdftotext.isEmpty())
        QSKIP("pdftotext is not installed");
    QProcess proc;
    proc.start(pdftotext, {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
    QVERIFY(proc.waitForFinished(60000));
    const QString text = QString::fromUtf8(proc.readAllStandardOutput());
    QCOMPARE(text.count(QStringLiteral("REPORTE DE HORAS TRABAJADAS")), pages);
    QVERIFY(text.contains(QStringLiteral("TOTAL DE HORAS TRABAJADAS POR EL FUNCIONARIO:")));
    QVERIFY(text.contains(QStringLiteral("Fernández")));
    QVERIFY(text.contains(output::longDate(QDate::currentDate())));
    for (int p = 1; p <= pages; ++p) {
        const QRegularExpression numbering(QStringLiteral("Número de página:\\s+%1\\s+de\\s+%2").arg(p).arg(pages));
        QVERIFY2(text.contains(numbering), qPrintable(numbering.pattern()));
    }
}

void TestReports::longReportIsLaidOutInBatches()
{
    // Thousands of hour rows for one person, made by hand: the window opens on its first
    // page and lays out the rest from the event loop.
    auto hours = std::make_shared<store::ShapeRecordset>(
        QStringLiteral("MesActual"), QStringList{"HORFECHA", "HORSEMANA", "HORVALORHORA", "HORHORAS", "TIPDESCRIPCION",
                                                 "DESDESCRIPCION", "ACTDESCRIPCION"});
    const int rows = 6000;
    for (int i = 0; i < rows; ++i)
        hours->append({store::Row{QDate(2024, 1, 1).addDays(i / 20), qlonglong(1 + i / 140), 300.0, 1.0, QStringLiteral("Horas comunes"),
                                  i % 50 ? QStringLiteral("Gestión") : QStringLiteral("Destino con un nombre que no cabe en su columna"),
                                  QStringLiteral("Clases")}, {}});
    auto groups = std::make_shared<store::ShapeRecordset>(
        QStringLiteral("MesActual_Grouping"), QStringList{"AREDESCRIPCION", "FUNCEDULA", "SumaHoras", "MesActual"},
        QStringList{"MesActual"});
    groups->append({store::Row{QStringLiteral("Docencia"), QStringLiteral("11111111"), double(rows), QVariant()}, {hours}});
    auto staff = std::make_shared<store::ShapeRecordset>(
        QStringLiteral("Funcionarios"), QStringList{"FunCedula", "FunNombres", "FunApellidos", "MesActual_Grouping"},
        QStringList{"MesActual_Grouping"});
    staff->append({store::Row{QStringLiteral("11111111"), QStringLiteral("Ana"), QStringLiteral("Pérez"), QVariant()}, {groups}});

    output::ReportPreview preview(output::monthReportLayout(), staff);
    preview.show();
    QVERIFY(!preview.isLaidOut());
    QVERIFY(preview.document().pageCount() >= 1);
    QSignalSpy finished(&preview, &output::ReportPreview::layoutFinished);
    QVERIFY(finished.wait(60000));
    QVERIFY(preview.isLaidOut());
    const ReportDocument &doc = preview.document();
    checkPages(doc, QStringLiteral("REPORTE DE HORAS TRABAJADAS"));
    READ_MONTH_REPORT(people, doc);
    QCOMPARE(people.size(), 1);
    QCOMPARE(people.first().groups.at(QStringLiteral("Docencia")).details, rows);
    QCOMPARE(people.first().total, QStringLiteral("6000"));
}

// Where the dark pixels of an image are.
QRect inkBox(const QImage &image)
{
    QRect box;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x)
            if (qGray(line[x]) < 128)
                box |= QRect(x, y, 1, 1);
    }
    return box;
}

void TestReports::textIsDrawnAndMeasuredAsLaidOut_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("alignment");
    QTest::addColumn<int>("width");
    QTest::addColumn<bool>("bold");
    const int vcenter = Qt::AlignVCenter;
    QTest::newRow("left") << "Fernández, Ana" << int(Qt::AlignLeft) + vcenter << 3000 << false;
    QTest::newRow("design default") << "Fernández, Ana" << 0 << 3000 << true;
    QTest::newRow("right") << "1234,5" << int(Qt::AlignRight) + vcenter << 1500 << false;
    QTest::newRow("centre") << "Horas comunes" << int(Qt::AlignHCenter) + vcenter << 4000 << true;
    QTest::newRow("top right") << "de" << int(Qt::AlignRight | Qt::AlignTop) << 1000 << false;
    QTest::newRow("bottom centre") << "Número de página:" << int(Qt::AlignHCenter | Qt::AlignBottom) << 3000 << false;
    QTest::newRow("overflowing") << "Pesos Uruguayos por hora docente" << int(Qt::AlignLeft) + vcenter << 900 << false;
    QTest::newRow("just too wide") << "MMMMMMMM" << int(Qt::AlignLeft) + vcenter << 1300 << true;
    QTest::newRow("other scripts") << "Ωμέγα 東京" << int(Qt::AlignLeft) + vcenter << 3000 << false;
    QTest::newRow("line break") << "dos\nlíneas" << int(Qt::AlignLeft) + vcenter << 3000 << false;
    QTest::newRow("empty") << "" << int(Qt::AlignLeft) + vcenter << 3000 << false;
}

// A text drawn on a report page lands where a text layout in its rectangle puts it, clipped
// to the rectangle; and the height a field needs is what a text layout needs.
void TestReports::textIsDrawnAndMeasuredAsLaidOut()
{
    QFETCH(QString, text);
    QFETCH(int, alignment);
    QFETCH(int, width);
    QFETCH(bool, bold);
    output::ReportFont font;
    font.bold = bold;
    const QFont qfont = output::reportFont(font);
    QCOMPARE(output::wrappedHeight(text, font, width),
             QFontMetrics(qfont).boundingRect(QRect(0, 0, width, 1 << 24), Qt::TextWordWrap, text).height());

    output::ReportControl label = output::ReportControl::label(500, 100, width, text, font);
    label.alignment = alignment;
    label.height = 500;
    output::ReportLayout layout;
    layout.reportHeader = output::ReportSection{QStringLiteral("ReportHeader"), 800, {label}};
    const ReportDocument doc = output::layoutReport(layout, {});
    QCOMPARE(doc.texts(0, QStringLiteral("ReportHeader")), QStringList{text});
    const QRect rect = doc.items(0).front().rect;

    const double scale = 0.1;  // pixels per twip
    const QSize size(int(doc.pageSize.width() * scale), int(doc.pageSize.height() * scale));
    // Where the ink of a white page lands once `paint` has drawn on it.
    const auto inkOf = [&](const std::function<void(QPainter &)> &paint) {
        QImage image(size, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter p(&image);
        paint(p);
        p.end();
        return inkBox(image);
    };
    const QRect got = inkOf([&](QPainter &p) { output::paintPage(p, doc, 0, scale); });
    const QRect want = inkOf([&](QPainter &p) {
        p.scale(scale, scale);
        p.setRenderHint(QPainter::TextAntialiasing, true);
        p.setFont(qfont);
        p.setClipRect(rect);
        p.drawText(rect, (alignment ? alignment : int(Qt::AlignLeft | Qt::AlignVCenter)) | Qt::TextSingleLine, text);
    });
    QCOMPARE(got.isEmpty(), want.isEmpty());
    const auto near = [](int a, int b) { return std::abs(a - b) <= 2; };
    QVERIFY2(near(got.left(), want.left()) && near(got.right(), want.right()) && near(got.top(), want.top())
                 && near(got.bottom(), want.bottom()),
             qPrintable(QStringLiteral("drawn at %1,%2 %3x%4, a text layout puts it at %5,%6 %7x%8")
                            .arg(got.x()).arg(got.y()).arg(got.width()).arg(got.height())
                            .arg(want.x()).arg(want.y()).arg(want.width()).arg(want.height())));
}

TEMPALIA_TEST_MAIN(TestReports)
#include "tst_reports.moc"
