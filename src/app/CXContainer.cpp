#include "app/CXContainer.h"

#include <QPainter>

#include "app/Artwork.h"
#include "app/CButtonST.h"
#include "app/CHyperLink.h"
#include "app/CXCmdBtn.h"
#include "app/CXProgressBar.h"
#include "app/CXStatic.h"
#include "app/Look.h"
#include "workflow/Language.h"
#include "workflow/Properties.h"

namespace tolmi {
namespace {

using look::Ltrb;

QString Text(const char* key) { return QString::fromStdString(LoadText(key)); }

constexpr int kRowCount = 6, kRowStep = 40, kRowHeight = 20;

CXStatic* TextLabel(QWidget* parent, const char* name, const QString& text, const char* face = kFace) {
    auto* label = new CXStatic(parent, 20, look::kText, look::kWhite, face, face == kFace ? 400 : 600);
    label->setObjectName(name);
    label->setText(text);
    return label;
}

}  // namespace

CXContainer::CXContainer(QWidget* parent)
    : QWidget(parent),
      addFile(new CXCmdBtn(this, Text("IDS_ADD_FILE"))),
      referenceButton(new CXCmdBtn(this, Text("IDS_CHOOSE_REFERENCE_MOV_FILE"))),
      helpLink(new CHyperLink(this, 20, look::kHeaderBlue, look::kWhite)),
      previewPicture(new CButtonST(this, DrawArt(Art::Preview, false, devicePixelRatioF()),
                                   DrawArt(Art::Preview, true, devicePixelRatioF()), Text("IDS_PREVIEW"),
                                   look::kWhite)),
      bar(new CXProgressBar(this)),
      percent(TextLabel(this, "percentLabel", "0%")),
      status_(TextLabel(this, "statusLine", Text("IDS_PLEASE_WAIT_ANALYSING"))),
      startLabel_(TextLabel(this, "startTime", Text("IDS_START_TIME"))),
      startValue_(TextLabel(this, "startTimeValue", " 00:00:00")),
      elapsedLabel_(TextLabel(this, "elapsedTime", Text("IDS_ELAPSED_TIME"))),
      elapsedValue_(TextLabel(this, "elapsedTimeValue", " 00:00:00")),
      properties_(new QWidget(this)) {
    addFile->setObjectName(CtlName(Ctl::AddFile));
    referenceButton->setObjectName(CtlName(Ctl::ReferenceButton));
    helpLink->setObjectName(CtlName(Ctl::HelpLink));
    helpLink->setText(Text("IDS_WHY_HEALTHY"));
    helpLink->setAlignment(Qt::AlignCenter);
    helpLink->setTarget(Text("IDS_WHY_HEALTHY_URL"));
    previewPicture->setObjectName(CtlName(Ctl::PreviewPicture));
    bar->setObjectName(CtlName(Ctl::Bar));
    bar->SetBarColors(look::kBarBackground, look::kBar);
    percent->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    elapsedLabel_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    elapsedValue_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    properties_->setObjectName(CtlName(Ctl::Properties));
    for (int row = 0; row < kRowCount; ++row) {
        const QString index = QString::number(row);
        auto* label = TextLabel(properties_, qPrintable("propertyLabel" + index), {}, kSemiboldFace);
        auto* value = TextLabel(properties_, qPrintable("propertyValue" + index), {}, kSemiboldFace);
        label->setGeometry(Ltrb(20, row * kRowStep, 100, row * kRowStep + kRowHeight));
        value->setGeometry(Ltrb(150, row * kRowStep, 400, row * kRowStep + kRowHeight));
        rows_.emplace_back(label, value);
    }
}

void CXContainer::addControls(ControlMap& map) {
    map[Ctl::AddFile] = {addFile};
    map[Ctl::ReferenceButton] = {referenceButton};
    map[Ctl::HelpLink] = {helpLink};
    map[Ctl::Status] = {status_};
    map[Ctl::Bar] = {bar};
    map[Ctl::Percent] = {percent};
    map[Ctl::StartTime] = {startLabel_, startValue_};
    map[Ctl::Elapsed] = {elapsedLabel_, elapsedValue_};
    map[Ctl::Properties] = {properties_};
    map[Ctl::PreviewPicture] = {previewPicture};
}

void CXContainer::setPicture(MiddlePicture picture) {
    if (picture == picture_) return;
    picture_ = picture;
    update();
}

void CXContainer::setStatus(const QString& text) { status_->setText(text); }
void CXContainer::setPercentText(const QString& text) { percent->setText(text); }

void CXContainer::setTimes(const QString& start, const QString& elapsed) {
    startValue_->setText(start);
    elapsedValue_->setText(elapsed);
}

void CXContainer::resetProgress(const QString& status) {
    bar->SetPos(0);
    bar->ResetAnimation();
    setPercentText("0%");
    setTimes(" 00:00:00", " 00:00:00");
    setStatus(status);
}

void CXContainer::fillProperties() {
    bar->ResetAnimation();
    const std::vector<PropertyRow> values = tolmi::fillProperties();
    for (size_t row = 0; row < rows_.size() && row < values.size(); ++row) {
        rows_[row].first->setText(QString::fromStdString(LoadText(values[row].labelKey)));
        rows_[row].second->setText(QString::fromStdString(values[row].value));
    }
}

void CXContainer::resizeEvent(QResizeEvent*) {
    const int w = width(), h = height(), half = w / 2, middle = h / 2;
    addFile->setGeometry(Ltrb(half - 60, h - 65, half + 60, h - 30));
    referenceButton->setGeometry(Ltrb(half - 110, h - 70, half + 110, h - 35));
    const int linkWidth = helpLink->fontMetrics().horizontalAdvance(helpLink->text()) + 8;
    helpLink->setGeometry(Ltrb(half - linkWidth / 2, h - 26, half + linkWidth / 2, h - 10));
    previewPicture->setGeometry(Ltrb(w - 491, middle - 155, w - 50, middle + 154));
    bar->setGeometry(Ltrb(10, h - 50, w - 10, h - 45));
    // The status line runs up to the percent label, so that long texts stand whole.
    status_->setGeometry(Ltrb(10, h - 80, w - 70, h - 60));
    percent->setGeometry(Ltrb(w - 70, h - 80, w - 10, h - 60));
    startLabel_->setGeometry(Ltrb(10, h - 39, 95, h - 19));
    startValue_->setGeometry(Ltrb(95, h - 39, 195, h - 19));
    elapsedLabel_->setGeometry(Ltrb(w - 196, h - 39, w - 80, h - 19));
    elapsedValue_->setGeometry(Ltrb(w - 80, h - 39, w - 10, h - 19));
    properties_->setGeometry(Ltrb(0, middle - 147, 400, middle - 147 + (kRowCount - 1) * kRowStep + kRowHeight));
}

void CXContainer::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), look::kWhite);
    if (picture_ == MiddlePicture::None) return;
    const QPixmap picture = DrawArt(picture_ == MiddlePicture::Busy ? Art::Busy : Art::Welcome, false,
                                    devicePixelRatioF());
    painter.drawPixmap(width() / 2 - 200, height() / 2 - 124, picture);
}

}  // namespace tolmi
