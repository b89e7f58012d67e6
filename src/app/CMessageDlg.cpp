#include "app/CMessageDlg.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QPainter>

#include "app/Artwork.h"
#include "app/CButtonST.h"
#include "app/CHyperLink.h"
#include "app/CXCmdBtn.h"
#include "app/CXStatic.h"
#include "app/Look.h"
#include "workflow/Language.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using look::Ltrb;

constexpr int kWidth = 530, kHeight = 270, kFootTop = 199, kLeftButton = 228, kRightButton = 372;
constexpr int kBelowBody = 138;  // where the third line and the report offer begin
constexpr int kNoAnswer = -1;  // the report: lastAnswer stays as it was

// The texts that say a file cannot be repaired; a message with one of them
// offers a report.
constexpr const char* kFailureKeys[] = {"IDS_UNHEALTHY_1", "IDS_MOVERROR1", "IDS_MOVERROR2",
                                        "IDS_MOVERROR3",   "IDS_MOVERROR4", "IDS_AVIERROR1",
                                        "IDS_AVIERROR2",   "IDS_AVIERROR3", "IDS_AVIERROR5"};

QString Text(const char* key) { return QString::fromStdString(LoadText(key)); }

CXStatic* DialogLabel(QWidget* parent, const char* name, int size, const QString& text, QRect place) {
    auto* label = new CXStatic(parent, size, look::kDialogText, look::kWhite);
    label->setObjectName(name);
    label->setText(text);
    label->setGeometry(place);
    return label;
}

}  // namespace

bool CMessageDlg::OffersReport(int kind, const QString& body) {
    if (kind < kAborted) return false;
    for (const char* key : kFailureKeys)
        if (body.compare(Text(key), Qt::CaseInsensitive) == 0) return true;
    return false;
}

CMessageDlg::CMessageDlg(const QString& body, const QString& caption, int kind, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint), kind_(kind) {
    setModal(true);
    setFixedSize(kWidth, kHeight);
    setObjectName("messageDialog");
    auto* close = new CButtonST(this, DrawArt(Art::DialogClose, false, devicePixelRatioF()),
                                DrawArt(Art::DialogClose, true, devicePixelRatioF()), QString(), look::kWhite);
    close->setObjectName("dialogClose");
    close->setGeometry(Ltrb(494, 8, 518, 32));
    connect(close, &QAbstractButton::clicked, this, [this] { finish(0); });

    const bool question = kind == kCloseConfirmation || kind == kCancelConfirmation;
    DialogLabel(this, "caption", 35, caption, Ltrb(125, 80, 515, 115));
    CXStatic* bodyLabel = DialogLabel(this, "body", 20, body, Ltrb(125, 117, 520, 157));
    bodyLabel->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    bodyLabel->setWordWrap(true);
    if (kind == kDiskSpace) DialogLabel(this, "third", 20, Text("IDS_ERROR10"), Ltrb(125, 138, 520, 159));

    if (question) {
        addButton("yesButton", "IDS_YES", kLeftButton, 1);
        addButton("noButton", "IDS_NO", kRightButton, 0);
    } else if (OffersReport(kind, body)) {
        addButton("okButton", "IDS_OK", kRightButton, 0)->hide();
        addButton("cancelButton", "IDS_CANCEL", kLeftButton, 0);
        addButton("shareButton", "IDS_SHARE", kRightButton, kNoAnswer);
        auto* link = new CHyperLink(this, 20, look::kHeaderBlue, look::kWhite);
        link->setObjectName("reportLink");
        link->setText(Text("IDS_CLICK_HERE"));
        const int linkRight = 125 + link->fontMetrics().horizontalAdvance(link->text()) + 2;
        link->setGeometry(Ltrb(125, 138, linkRight, 159));
        connect(link, &CHyperLink::activated, this, [this] { finish(kNoAnswer); });
        DialogLabel(this, "reportHint1", 20, Text("IDS_CLICK_HERE_1"), Ltrb(linkRight + 4, 138, 520, 159));
        DialogLabel(this, "reportHint2", 20, Text("IDS_CLICK_HERE_2"), Ltrb(125, 159, 520, 180));
    } else {
        addButton("okButton", "IDS_OK", kRightButton, 0);
    }
    makeRoomForBody(bodyLabel);
}

// The layout holds one line of body above the third line or the report
// offer, two lines otherwise. A longer text pushes what lies below it down
// and makes the dialog taller, so that every word stands.
void CMessageDlg::makeRoomForBody(CXStatic* bodyLabel) {
    const bool rowsBelow = findChild<QWidget*>("third") || findChild<QWidget*>("reportLink");
    const int room = rowsBelow ? kBelowBody - 117 : 40;
    extra_ = std::max(0, bodyLabel->textHeight() - room);
    if (extra_ == 0) return;
    for (QWidget* child : findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        if (child->y() >= kBelowBody) child->move(child->x(), child->y() + extra_);
    bodyLabel->resize(bodyLabel->width(), room + extra_);
    setFixedSize(kWidth, kHeight + extra_);
}

CXCmdBtn* CMessageDlg::addButton(const char* name, const char* key, int left, int answer) {
    auto* button = new CXCmdBtn(this, Text(key));
    button->setObjectName(name);
    button->setGeometry(Ltrb(left, 217, left + 121, 252));
    connect(button, &QAbstractButton::clicked, this, [this, answer] { finish(answer); });
    return button;
}

void CMessageDlg::finish(int answer) {
    RepairSession& s = Session();
    if (answer == kNoAnswer) emit reportRequested();
    else s.lastAnswer = answer;
    s.messageKind = kNoMessage;
    done(0);
}

// Esc and the window manager's close leave the dialog open: only its own
// buttons answer it.
void CMessageDlg::reject() {}

void CMessageDlg::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) return event->accept();
    QDialog::keyPressEvent(event);
}

void CMessageDlg::closeEvent(QCloseEvent* event) { event->ignore(); }

void CMessageDlg::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(Ltrb(0, 0, kWidth, 40), look::kHeaderBlue);
    painter.fillRect(Ltrb(0, 40, kWidth, kFootTop + extra_), look::kWhite);
    painter.fillRect(Ltrb(0, kFootTop + extra_, kWidth, height()), look::kDialogFoot);
    painter.setPen(QPen(look::kDialogFrame, 4));
    painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
    const bool question = kind_ == kCloseConfirmation || kind_ == kCancelConfirmation;
    painter.drawPixmap(30, 89, DrawArt(question ? Art::Question : Art::Information, false, devicePixelRatioF()));
}

}  // namespace tolmi
