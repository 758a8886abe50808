// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/params_window.h"

#include <QtCore/QEventLoop>
#include <QtCore/QFileInfo>
#include <QtCore/QLibraryInfo>
#include <QtCore/QSignalBlocker>
#include <QtCore/QTimer>
#include <QtGui/QFontMetrics>
#include <QtGui/QScreen>
#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialog>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSlider>
#include <QtWidgets/QToolButton>

#include <algorithm>
#include <array>
#include <clocale>
#include <memory>
#include <string>
#include <vector>

#include "orvix/platform/export.h"
#include "orvix/platform/qt/display.h"

namespace orvix::platform::qt {
namespace {

constexpr int kTickMilliseconds = 50;

QString Of(const CString& text) {
    return QString::fromStdWString(text);
}

QString WithoutKey(QString caption) {
    return caption.remove(QLatin1Char('&'));
}

/// Qt's application object where the host has none. Making one also switches the process to the
/// user's locale, in which numbers may be written with a comma; the host's own comes back.
class Application {
public:
    explicit Application(const std::string& platform) : words_{"orvix"} {
        if (QCoreApplication::instance() != nullptr) return;
        if (!platform.empty()) words_.insert(words_.end(), {"-platform", platform});
        for (std::string& word : words_) arguments_.push_back(word.data());
        arguments_.push_back(nullptr);
        count_ = static_cast<int>(words_.size());
        const std::string before = std::setlocale(LC_ALL, nullptr);
        own_ = std::make_unique<QApplication>(count_, arguments_.data());
        std::setlocale(LC_ALL, before.c_str());
    }

private:
    std::vector<std::string> words_;
    std::vector<char*> arguments_;
    int count_ = 0;
    std::unique_ptr<QApplication> own_;
};

bool HasWaylandPlugin() {
    return QFileInfo::exists(QLibraryInfo::path(QLibraryInfo::PluginsPath) +
                             QStringLiteral("/platforms/libqwayland-generic.so"));
}

/// The controls of one slider's row.
struct Row {
    QLabel* caption = nullptr;
    QToolButton* down = nullptr;
    QSlider* slider = nullptr;
    QToolButton* up = nullptr;
    QLabel* value = nullptr;
};

/// Escape and the frame's button ask for Cancel instead of closing.
class Dialog final : public QDialog {
public:
    explicit Dialog(ParamsEvents& events) : events_(events) {}
    void reject() override { events_.ButtonPressed(ParamsButton::Cancel); }

private:
    ParamsEvents& events_;
};

class QtWindow final : public ParamsWindow {
public:
    int Run(void* parent, ParamsEvents& events) override;
    void Close(int code) override {
        if (loop_ != nullptr) loop_->exit(code);
    }
    [[nodiscard]] CString Trouble() const override { return trouble_; }
    void SetCaptions(const ParamsCaptions& captions) override;
    void SetChoice(int entry) override;
    void SetRange(ParamsSlider slider, int low, int high) override;
    void SetPosition(ParamsSlider slider, int position) override;
    void SetValue(ParamsSlider slider, const CString& text) override;
    void SetStep(const CString& text) override {
        if (dialog_) step_->setText(Of(text));
    }
    void EnableView(bool enabled) override {
        if (dialog_) view_->setEnabled(enabled);
    }
    void ShowPicture(const ParamsPicture& picture) override;
    void StepAside() override;
    void ComeBack() override;

private:
    void Build();
    Row BuildRow(QGridLayout& grid, int line, ParamsSlider slider);
    QToolButton* StepButton(ParamsSlider slider, ParamsStep step);
    QPushButton* Button(ParamsButton button);
    void PutOver(void* parent);
    Row& RowOf(ParamsSlider slider) { return rows_[static_cast<std::size_t>(slider)]; }

    CString trouble_;
    ParamsEvents* events_ = nullptr;
    std::unique_ptr<Dialog> dialog_;
    QEventLoop* loop_ = nullptr;
    std::unique_ptr<QWindow> parent_;
    std::array<Row, kParamsSliders> rows_;
    QLabel* data_ = nullptr;
    QComboBox* choice_ = nullptr;
    QLabel* scale_ = nullptr;
    QGroupBox* group_ = nullptr;
    QLabel* step_ = nullptr;
    QPushButton* defaults_ = nullptr;
    QPushButton* view_ = nullptr;
    QPushButton* ok_ = nullptr;
    QPushButton* cancel_ = nullptr;
    QLabel* picture_ = nullptr;
};

int QtWindow::Run(void* parent, ParamsEvents& events) {
    std::string platform;
    if (QCoreApplication::instance() == nullptr) {
        const Display display = FindDisplay(HasWaylandPlugin());
        trouble_ = display.trouble;
        if (!trouble_.empty()) return kCannotOpen;
        platform = display.platform;
    }
    const Application application(platform);
    QEventLoop loop;
    QTimer timer;
    events_ = &events;
    loop_ = &loop;
    dialog_ = std::make_unique<Dialog>(events);
    Build();
    PutOver(parent);
    events.Opened();
    timer.callOnTimeout([&events] { events.Tick(); });
    timer.start(kTickMilliseconds);
    dialog_->show();
    // A loop of its own: that of QDialog would end when the dialog steps aside.
    const int code = loop.exec();
    loop_ = nullptr;
    timer.stop();
    dialog_.reset();
    parent_.reset();
    return code;
}

void QtWindow::PutOver(void* parent) {
    dialog_->setWindowModality(Qt::ApplicationModal);
    if (parent == nullptr) return;
    dialog_->winId();  // makes the native window
    parent_.reset(QWindow::fromWinId(reinterpret_cast<WId>(parent)));
    dialog_->windowHandle()->setTransientParent(parent_.get());
}

QToolButton* QtWindow::StepButton(ParamsSlider slider, ParamsStep step) {
    auto* const button = new QToolButton;
    button->setArrowType(step == ParamsStep::Down ? Qt::LeftArrow : Qt::RightArrow);
    button->setFocusPolicy(Qt::NoFocus);
    QObject::connect(button, &QToolButton::clicked, dialog_.get(), [this, slider, step] {
        events_->StepPressed(slider, step);
        // The keys go on where the mouse left off.
        RowOf(slider).slider->setFocus();
    });
    return button;
}

Row QtWindow::BuildRow(QGridLayout& grid, int line, ParamsSlider slider) {
    Row row;
    row.caption = new QLabel;
    row.slider = new QSlider(Qt::Horizontal);
    row.slider->setMinimumWidth(180);
    row.caption->setBuddy(row.slider);
    row.down = StepButton(slider, ParamsStep::Down);
    row.up = StepButton(slider, ParamsStep::Up);
    row.value = new QLabel;
    QObject::connect(row.slider, &QSlider::valueChanged, dialog_.get(),
                     [this, slider](int position) { events_->SliderMoved(slider, position); });
    grid.addWidget(row.caption, line, 0);
    grid.addWidget(row.down, line, 1);
    grid.addWidget(row.slider, line, 2);
    grid.addWidget(row.up, line, 3);
    grid.addWidget(row.value, line, 4);
    return row;
}

QPushButton* QtWindow::Button(ParamsButton button) {
    auto* const made = new QPushButton;
    QObject::connect(made, &QPushButton::clicked, dialog_.get(),
                     [this, button] { events_->ButtonPressed(button); });
    return made;
}

void QtWindow::Build() {
    data_ = new QLabel;
    choice_ = new QComboBox;
    data_->setBuddy(choice_);
    scale_ = new QLabel;
    group_ = new QGroupBox;
    step_ = new QLabel;
    QObject::connect(choice_, &QComboBox::currentIndexChanged, dialog_.get(),
                     [this](int entry) { events_->ChoiceMade(entry); });

    // The group's rows and the others stand in grids of the same columns.
    auto* const top = new QGridLayout;
    top->addWidget(data_, 0, 0);
    top->addWidget(choice_, 0, 1);
    top->addWidget(scale_, 1, 1);
    top->setColumnStretch(1, 1);
    auto* const inGroup = new QGridLayout(group_);
    auto* const below = new QGridLayout;
    for (std::size_t i = 0; i < kParamsSliders; ++i) {
        const auto slider = static_cast<ParamsSlider>(i);
        QGridLayout& grid = slider < ParamsSlider::Angle ? *inGroup : *below;
        rows_[i] = BuildRow(grid, static_cast<int>(i), slider);
    }
    inGroup->addWidget(step_, 3, 1, 1, 4);
    inGroup->setColumnStretch(2, 1);
    below->setColumnStretch(2, 1);

    defaults_ = Button(ParamsButton::Default);
    view_ = Button(ParamsButton::View);
    ok_ = Button(ParamsButton::Ok);
    cancel_ = Button(ParamsButton::Cancel);
    ok_->setDefault(true);
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(defaults_);
    buttons->addWidget(view_);
    buttons->addStretch(1);
    buttons->addSpacing(24);
    buttons->addWidget(ok_);
    buttons->addWidget(cancel_);

    // What stands outside the group keeps the group's inner margins, so that columns align.
    const QMargins margins = inGroup->contentsMargins();
    for (QGridLayout* const grid : {top, below})
        grid->setContentsMargins(margins.left() + 1, 0, margins.right() + 1, 0);
    auto* const column = new QVBoxLayout;
    column->addLayout(top);
    column->addWidget(group_);
    column->addLayout(below);
    column->addSpacing(8);
    column->addLayout(buttons);
    column->addStretch(1);  // beside a picture, which is higher
    picture_ = new QLabel;
    picture_->setAlignment(Qt::AlignCenter);
    picture_->setWordWrap(true);
    picture_->setAutoFillBackground(true);
    picture_->setBackgroundRole(QPalette::Base);
    picture_->hide();
    auto* const whole = new QHBoxLayout(dialog_.get());
    whole->addLayout(column);
    whole->addWidget(picture_);
    whole->setSizeConstraint(QLayout::SetFixedSize);
}

void QtWindow::SetCaptions(const ParamsCaptions& captions) {
    if (!dialog_) return;
    dialog_->setWindowTitle(Of(captions.title));
    data_->setText(Of(captions.data));
    const QSignalBlocker quiet(choice_);
    choice_->clear();
    for (const CString& choice : captions.choices) choice_->addItem(Of(choice));
    scale_->setText(Of(captions.scale));
    group_->setTitle(Of(captions.splitSize));
    defaults_->setText(Of(captions.defaults));
    view_->setText(Of(captions.view));
    ok_->setText(Of(captions.ok));
    cancel_->setText(Of(captions.cancel));

    int captionWidth = 0;
    int valueWidth = 0;
    for (std::size_t i = 0; i < kParamsSliders; ++i) {
        Row& row = rows_[i];
        row.caption->setText(Of(captions.sliders[i]));
        const QString spoken = WithoutKey(row.caption->text()) + QStringLiteral(": ");
        row.down->setAccessibleName(spoken + Of(captions.stepDown));
        row.up->setAccessibleName(spoken + Of(captions.stepUp));
        captionWidth = std::max(captionWidth, row.caption->sizeHint().width());
        const QFontMetrics metrics(row.value->font());
        valueWidth = std::max(valueWidth, metrics.horizontalAdvance(Of(captions.widest[i])));
    }
    captionWidth = std::max(captionWidth, data_->sizeHint().width());
    // Letters may be drawn a little wider than they are measured.
    captionWidth += data_->fontMetrics().averageCharWidth();
    valueWidth += data_->fontMetrics().averageCharWidth();
    data_->setMinimumWidth(captionWidth);
    for (Row& row : rows_) {
        row.caption->setMinimumWidth(captionWidth);
        row.value->setMinimumWidth(valueWidth);
    }
}

void QtWindow::SetChoice(int entry) {
    if (!dialog_) return;
    const QSignalBlocker quiet(choice_);
    choice_->setCurrentIndex(entry);
}

void QtWindow::SetRange(ParamsSlider slider, int low, int high) {
    if (!dialog_) return;
    QSlider& control = *RowOf(slider).slider;
    const QSignalBlocker quiet(control);
    control.setRange(low, high);
    control.setPageStep(ParamsPage(low, high));
}

void QtWindow::SetPosition(ParamsSlider slider, int position) {
    if (!dialog_) return;
    QSlider& control = *RowOf(slider).slider;
    const QSignalBlocker quiet(control);
    control.setValue(position);
}

void QtWindow::SetValue(ParamsSlider slider, const CString& text) {
    if (dialog_) RowOf(slider).value->setText(Of(text));
}

void QtWindow::ShowPicture(const ParamsPicture& picture) {
    if (!dialog_) return;
    const QSize room = dialog_->screen()->availableGeometry().size();
    const int usedWide = dialog_->layout()->sizeHint().width();
    if (picture_->isHidden()) {
        QSize place(kParamsPictureWidth, kParamsPictureHeight);
        const QSize most(std::max(200, room.width() - usedWide - 40),
                         std::max(150, room.height() - 80));
        if (place.width() > most.width() || place.height() > most.height())
            place.scale(most, Qt::KeepAspectRatio);
        picture_->setFixedSize(place);
        picture_->show();
    }
    if (picture.rgb.empty()) {
        picture_->setPixmap({});
        picture_->setText(Of(picture.text).toHtmlEscaped());
        return;
    }
    const QImage image(picture.rgb.data(), picture.width, picture.height, picture.width * 3,
                       QImage::Format_RGB888);
    const double ratio = picture_->devicePixelRatioF();
    QPixmap drawn = QPixmap::fromImage(
        image.scaled(picture_->size() * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    drawn.setDevicePixelRatio(ratio);
    picture_->setPixmap(drawn);
}

void QtWindow::StepAside() {
    if (dialog_) dialog_->hide();
}

void QtWindow::ComeBack() {
    if (!dialog_) return;
    dialog_->show();
    dialog_->activateWindow();
}

}  // namespace
}  // namespace orvix::platform::qt

/// The window, for the library to delete. The number counts the changes to its interface.
extern "C" ORVIX_API orvix::platform::ParamsWindow* OrvixMakeParamsWindow1();

orvix::platform::ParamsWindow* OrvixMakeParamsWindow1() {
    return new orvix::platform::qt::QtWindow;
}
