#include "session/frmPresentacion.h"

#include "session/VersionRecord.h"

#include <QEvent>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>

#include <cmath>

namespace {

// The product's picture: a clock face, for a program that keeps hours, with the tail of
// the Q of Quronda.
QPixmap productPicture()
{
    const int size = 96;
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    const QPointF centre(44, 44);
    p.setPen(QPen(QColor(0x1f, 0x4e, 0x8c), 7, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(62, 62), QPointF(88, 88));
    p.setBrush(QColor(0xf4, 0xf7, 0xfc));
    p.drawEllipse(centre, 38, 38);
    p.setPen(QPen(QColor(0x1f, 0x4e, 0x8c), 3));
    for (int hour = 0; hour < 12; ++hour) {
        const double angle = hour * M_PI / 6;
        const QPointF dir(std::sin(angle), -std::cos(angle));
        p.drawLine(centre + dir * 30, centre + dir * (hour % 3 == 0 ? 24 : 27));
    }
    p.setPen(QPen(QColor(0xc0, 0x39, 0x2b), 4, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(centre, centre + QPointF(0, -22));
    p.setPen(QPen(QColor(0x1f, 0x4e, 0x8c), 4, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(centre, centre + QPointF(15, 6));
    return pixmap;
}

// The maker's picture: its name on a rounded plate.
QPixmap makerPicture()
{
    QPixmap pixmap(132, 40);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath plate;
    plate.addRoundedRect(QRectF(1, 1, 130, 38), 8, 8);
    p.fillPath(plate, QColor(0x2c, 0x3e, 0x50));
    p.setBrush(QColor(0xf3, 0x9c, 0x12));
    p.setPen(Qt::NoPen);
    p.drawEllipse(QPointF(20, 20), 9, 9);
    QFont font(QStringLiteral("Sans Serif"));
    font.setPixelSize(18);
    font.setBold(true);
    p.setFont(font);
    p.setPen(Qt::white);
    p.drawText(QRectF(34, 0, 94, 40), Qt::AlignVCenter | Qt::AlignLeft, QStringLiteral("novadat"));
    return pixmap;
}

QLabel *label(QWidget *parent, const char *name, const QString &text = {})
{
    auto *l = new QLabel(text, parent);
    l->setObjectName(QString::fromLatin1(name));
    return l;
}

}  // namespace

frmPresentacion::frmPresentacion(QWidget *parent)
    : QFrame(parent, Qt::Window | Qt::CustomizeWindowHint | Qt::FramelessWindowHint)
{
    setObjectName(QStringLiteral("frmPresentacion"));
    setAttribute(Qt::WA_DeleteOnClose);
    setFrameStyle(QFrame::Box | QFrame::Raised);
    setLineWidth(2);
    setFocusPolicy(Qt::StrongFocus);

    imgLogo = label(this, "imgLogo");
    imgLogo->setPixmap(productPicture());
    imgNovadat = label(this, "imgNovadat");
    imgNovadat->setPixmap(makerPicture());

    lblProductName = label(this, "lblProductName");
    QFont title = lblProductName->font();
    title.setPointSize(28);
    title.setBold(true);
    lblProductName->setFont(title);
    lblProductName->setMinimumHeight(lblProductName->fontMetrics().height() + 2);
    lblPropaganda = label(this, "lblPropaganda", QStringLiteral("Quronda para Institutos"));
    QFont slogan = lblPropaganda->font();
    slogan.setPointSize(13);
    slogan.setItalic(true);
    lblPropaganda->setFont(slogan);
    lblVersion = label(this, "lblVersion");
    lblCompany = label(this, "lblCompany");
    lblCopyright = label(this, "lblCopyright");
    lblCopyright->setWordWrap(true);
    lblWarning = label(this, "lblWarning",
                       QStringLiteral("Advertencia: este programa está protegido por las leyes de derechos "
                                      "de autor. Su reproducción o distribución sin autorización, total o "
                                      "parcial, puede dar lugar a sanciones civiles y penales."));
    lblWarning->setWordWrap(true);
    QFont small = lblWarning->font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    lblWarning->setFont(small);

    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(24, 20, 24, 16);
    grid->setHorizontalSpacing(20);
    grid->addWidget(imgLogo, 0, 0, 3, 1, Qt::AlignTop);
    grid->addWidget(lblProductName, 0, 1);
    grid->addWidget(lblPropaganda, 1, 1);
    grid->addWidget(lblVersion, 2, 1, Qt::AlignTop);
    grid->addWidget(lblCompany, 3, 1);
    grid->addWidget(lblCopyright, 4, 1);
    grid->addWidget(imgNovadat, 3, 0, 2, 1, Qt::AlignBottom);
    grid->addWidget(lblWarning, 5, 0, 1, 2);
    grid->setRowMinimumHeight(2, 30);
    grid->setColumnStretch(1, 1);
    setFixedWidth(500);
    adjustSize();
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        move(screen->availableGeometry().center() - rect().center());

    // The window sees every key before its controls do.
    const QList<QWidget *> children = findChildren<QWidget *>();
    for (QWidget *child : children)
        child->installEventFilter(this);

    Form_Load();
}

frmPresentacion::~frmPresentacion() = default;

void frmPresentacion::Form_Load()
{
    const session::VersionRecord &record = session::versionRecord();
    lblVersion->setText(QStringLiteral("Version ") + record.versionText());
    lblProductName->setText(record.title);
    lblCopyright->setText(record.legalCopyright);
    lblCompany->setText(record.companyName);
}

void frmPresentacion::unload()
{
    close();  // deleted on close
}

void frmPresentacion::keyPressEvent(QKeyEvent *event)
{
    event->accept();
    unload();
}

bool frmPresentacion::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress) {
        unload();
        return true;
    }
    return QFrame::eventFilter(watched, event);
}
