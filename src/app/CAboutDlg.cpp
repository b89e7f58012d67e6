#include "app/CAboutDlg.h"

#include <QPainter>

#include "app/Artwork.h"
#include "app/CHyperLink.h"
#include "app/CXCmdBtn.h"
#include "app/CXStatic.h"
#include "app/Look.h"
#include "workflow/Language.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using look::Ltrb;

constexpr int kWidth = 530, kHeight = 290, kFootTop = 219, kTextLeft = 125;
const QColor kAboutFrame{0x56, 0x56, 0x56};

QString Text(const char* key) { return QString::fromStdString(LoadText(key)); }

CXStatic* Line(QDialog* parent, const char* name, int size, const QString& text, int top) {
    auto* label = new CXStatic(parent, size, look::kDialogText, look::kWhite);
    label->setObjectName(name);
    label->setText(text);
    label->setGeometry(Ltrb(kTextLeft, top, kWidth - 20, top + size + 6));
    return label;
}

}  // namespace

CAboutDlg::CAboutDlg(QWidget* parent) : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint) {
    setModal(true);
    setFixedSize(kWidth, kHeight);
    setObjectName("aboutDialog");
    // While the player is asked for, the headline says that it loads.
    Line(this, "aboutHeadline", 30, Text(Session().previewRunning ? "IDS_LOADING" : "IDS_ABOUT"), 60);
    Line(this, "aboutVersion", 20, Text("IDS_VERSION_TEXT") + ' ' + TOLMI_VERSION, 100);
    const std::pair<const char*, const char*> links[] = {{"IDS_URL_ABOUT", "IDS_URL_ABOUT"},
                                                         {"IDS_UNINSTALL_URL_TXT", "IDS_UNINSTALL_URL"},
                                                         {"IDS_POLICY_URL_TXT", "IDS_POLICY_URL"}};
    int top = 134;
    for (auto [textKey, addressKey] : links) {
        auto* link = new CHyperLink(this, 20, look::kHeaderBlue, look::kWhite);
        link->setObjectName(addressKey);
        link->setText(Text(textKey));
        link->setTarget(Text(addressKey));
        link->setGeometry(Ltrb(kTextLeft, top, kTextLeft + link->fontMetrics().horizontalAdvance(link->text()) + 2,
                               top + 21));
        top += 26;
    }
    auto* ok = new CXCmdBtn(this, Text("IDS_OK"));
    ok->setObjectName("okButton");
    ok->setGeometry(Ltrb(372, kFootTop + 18, 493, kFootTop + 53));
    connect(ok, &QAbstractButton::clicked, this, &QDialog::accept);
}

void CAboutDlg::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.fillRect(Ltrb(0, 0, kWidth, 40), look::kHeaderBlue);
    painter.fillRect(Ltrb(0, 40, kWidth, kFootTop), look::kWhite);
    painter.fillRect(Ltrb(0, kFootTop, kWidth, kHeight), look::kDialogFoot);
    painter.drawPixmap(QRect(30, 64, 72, 72), DrawArt(Art::AppIcon, false, devicePixelRatioF()));
    painter.setPen(QPen(kAboutFrame, 4));
    painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
}

}  // namespace tolmi
