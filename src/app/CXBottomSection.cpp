#include "app/CXBottomSection.h"

#include <QPainter>
#include <QTimerEvent>

#include "app/CHyperLink.h"
#include "app/CXCmdBtn.h"
#include "app/CXStatic.h"
#include "app/Look.h"
#include "workflow/Language.h"

namespace tolmi {
namespace {

using look::Ltrb;

QString Text(const char* key) { return QString::fromStdString(LoadText(key)); }

CXCmdBtn* Button(QWidget* parent, Ctl control, const char* key) {
    auto* button = new CXCmdBtn(parent, Text(key));
    button->setObjectName(CtlName(control));
    return button;
}

CXStatic* Label(QWidget* parent, Ctl control, int size, QColor color, const char* face = kFace, int weight = 400) {
    auto* label = new CXStatic(parent, size, color, look::kWhite, face, weight);
    label->setObjectName(CtlName(control));
    return label;
}

}  // namespace

CXBottomSection::CXBottomSection(QWidget* parent)
    : QWidget(parent),
      repair(Button(this, Ctl::Repair, "IDS_REPAIR")),
      pause(Button(this, Ctl::Pause, "IDS_PAUSE")),
      save(Button(this, Ctl::Save, "IDS_SAVE")),
      cancel(Button(this, Ctl::Cancel, "IDS_CANCEL")),
      back(Button(this, Ctl::Back, "IDS_BACK")),
      preview(Button(this, Ctl::PreviewButton, "IDS_PREVIEW")),
      home(Button(this, Ctl::Home, "IDS_HOME")),
      selectedLabel(Label(this, Ctl::Selected, 20, look::kSelectedGreen, kSemiboldFace, 600)),
      corruptedLabel(Label(this, Ctl::Corrupted, 20, look::kText)),
      referenceLabel(Label(this, Ctl::Reference, 20, look::kText)),
      aviPathLabel(Label(this, Ctl::AviPath, 20, look::kText)),
      addHintLabel(Label(this, Ctl::AddHint, 25, look::kText)),
      unableLabel(Label(this, Ctl::Unable, 25, look::kText)),
      reportLink(new CHyperLink(this, 26, look::kHeaderBlue, look::kWhite)) {
    reportLink->setObjectName(CtlName(Ctl::ReportLink));
    reportLink->setText(Text("IDS_CLICK_HERE"));
    selectedLabel->setText(Text("IDS_FILE_SELECTED"));
    addHintLabel->setText(Text("IDS_CLICK_ADD"));
    addHintLabel->setAlignment(Qt::AlignCenter);
    unableLabel->setText(Text("IDS_UNABLE_TXT"));
    unableLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
}

void CXBottomSection::addControls(ControlMap& map) {
    const std::pair<Ctl, QWidget*> controls[] = {
        {Ctl::Repair, repair},           {Ctl::Pause, pause},
        {Ctl::Save, save},               {Ctl::Cancel, cancel},
        {Ctl::Back, back},               {Ctl::PreviewButton, preview},
        {Ctl::Home, home},               {Ctl::Selected, selectedLabel},
        {Ctl::Corrupted, corruptedLabel}, {Ctl::Reference, referenceLabel},
        {Ctl::AviPath, aviPathLabel},    {Ctl::AddHint, addHintLabel},
        {Ctl::Unable, unableLabel},      {Ctl::ReportLink, reportLink},
    };
    for (auto [control, widget] : controls) map[control] = {widget};
}

QRect CXBottomSection::repairPlace() const { return Ltrb(width() - 158, 27, width() - 37, height() - 27); }
QRect CXBottomSection::cancelPlace() const { return Ltrb(width() - 302, 27, width() - 181, height() - 27); }

void CXBottomSection::placeCancel(bool inRepairPlace) {
    cancelInRepairPlace_ = inRepairPlace;
    cancel->setGeometry(inRepairPlace ? repairPlace() : cancelPlace());
}

void CXBottomSection::resizeEvent(QResizeEvent*) {
    const int w = width(), h = height();
    for (CXCmdBtn* button : {repair, pause, save}) button->setGeometry(repairPlace());
    for (CXCmdBtn* button : {back, preview}) button->setGeometry(cancelPlace());
    placeCancel(cancelInRepairPlace_);
    home->setGeometry(Ltrb(20, 27, 141, h - 27));
    selectedLabel->setGeometry(Ltrb(20, 7, w - 430, 27));
    corruptedLabel->setGeometry(Ltrb(20, 35, w - 430, 55));
    referenceLabel->setGeometry(Ltrb(20, h - 26, w - 330, h - 6));
    aviPathLabel->setGeometry(Ltrb(20, 34, w - 380, 54));
    // Centred on the middle as the 400 pixels around it would be, but as
    // wide as the section, so that a longer language is not cut.
    addHintLabel->setGeometry(Ltrb(20, 27, w - 20, 52));
    // The link takes the width of its text, and the question stands right beside it.
    const int linkRight = w - 399 + reportLink->fontMetrics().horizontalAdvance(reportLink->text()) + 4;
    reportLink->setGeometry(Ltrb(w - 399, 31, linkRight, h - 23));
    unableLabel->setGeometry(Ltrb(w - 679, 30, w - 405, h - 24));
}

void CXBottomSection::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(0, 2, width(), height() - 2, look::kWhite);
}

void CXBottomSection::startClock() { clock_.start(1000, this); }
void CXBottomSection::stopClock() { clock_.stop(); }

void CXBottomSection::timerEvent(QTimerEvent* event) {
    if (event->timerId() == clock_.timerId()) emit clockTicked();
}

}  // namespace tolmi
