// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/row_window.h"

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
#include <clocale>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
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

/// Escape and the frame's button ask for the Cancel button instead of closing.
class Dialog final : public QDialog {
public:
    Dialog(RowWindowEvents& events, const RowWindowContent& content) : events_(events) {
        for (const WindowButton& button : content.buttons)
            if (button.role == ButtonRole::Cancel) cancel_ = button.id;
    }
    void reject() override {
        if (cancel_) events_.ButtonPressed(*cancel_);
    }

private:
    RowWindowEvents& events_;
    std::optional<int> cancel_;
};

class QtWindow final : public RowWindow {
public:
    int Run(void* parent, const RowWindowContent& content, RowWindowEvents& events) override;
    void Close(int code) override {
        if (loop_ != nullptr) loop_->exit(code);
    }
    [[nodiscard]] CString Trouble() const override { return trouble_; }
    void SetChoice(int entry) override;
    void SetRow(std::size_t row, int position, const CString& value) override;
    void SetChoiceNote(const CString& text) override {
        if (dialog_) choiceNote_->setText(Of(text));
    }
    void SetGroupNote(const CString& text) override {
        if (dialog_) groupNote_->setText(Of(text));
    }
    void EnableButton(int id, bool enabled) override {
        if (dialog_) buttons_.at(id)->setEnabled(enabled);
    }
    void ShowPicture(const WindowPicture& picture) override;
    void StepAside() override;
    void ComeBack() override;

private:
    void Build(const RowWindowContent& content);
    QLayout* BuildChoice(const RowWindowContent& content);
    Row BuildRow(QGridLayout& grid, std::size_t index, const RowWindowContent& content);
    QToolButton* StepButton(std::size_t row, SliderStep step, const QString& spoken);
    QLayout* BuildButtons(const RowWindowContent& content);
    QLabel* BuildPicture();
    void AlignColumns(const RowWindowContent& content);
    void PutOver(void* parent);

    CString trouble_;
    RowWindowEvents* events_ = nullptr;
    std::unique_ptr<Dialog> dialog_;
    QEventLoop* loop_ = nullptr;
    std::unique_ptr<QWindow> parent_;
    std::vector<Row> rows_;
    std::map<int, QPushButton*> buttons_;  // by id
    QLabel* choiceCaption_ = nullptr;
    QComboBox* choice_ = nullptr;
    QLabel* choiceNote_ = nullptr;
    QLabel* groupNote_ = nullptr;
    QLabel* picture_ = nullptr;
};

int QtWindow::Run(void* parent, const RowWindowContent& content, RowWindowEvents& events) {
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
    dialog_ = std::make_unique<Dialog>(events, content);
    Build(content);
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

QToolButton* QtWindow::StepButton(std::size_t row, SliderStep step, const QString& spoken) {
    auto* const button = new QToolButton;
    button->setArrowType(step == SliderStep::Down ? Qt::LeftArrow : Qt::RightArrow);
    button->setFocusPolicy(Qt::NoFocus);
    button->setAccessibleName(spoken);
    QObject::connect(button, &QToolButton::clicked, dialog_.get(), [this, row, step] {
        events_->StepPressed(row, step);
        // The keys go on where the mouse left off.
        rows_[row].slider->setFocus();
    });
    return button;
}

Row QtWindow::BuildRow(QGridLayout& grid, std::size_t index, const RowWindowContent& content) {
    const SliderRow& wanted = content.rows[index];
    Row row;
    row.caption = new QLabel(Of(wanted.caption));
    row.slider = new QSlider(Qt::Horizontal);
    row.slider->setMinimumWidth(180);
    row.slider->setRange(wanted.low, wanted.high);
    row.slider->setPageStep(SliderPage(wanted.low, wanted.high));
    row.caption->setBuddy(row.slider);
    const QString spoken = WithoutKey(row.caption->text()) + QStringLiteral(": ");
    row.down = StepButton(index, SliderStep::Down, spoken + Of(content.stepDown));
    row.up = StepButton(index, SliderStep::Up, spoken + Of(content.stepUp));
    row.value = new QLabel;
    QObject::connect(row.slider, &QSlider::valueChanged, dialog_.get(),
                     [this, index](int position) { events_->SliderMoved(index, position); });
    const int line = static_cast<int>(index);
    grid.addWidget(row.caption, line, 0);
    grid.addWidget(row.down, line, 1);
    grid.addWidget(row.slider, line, 2);
    grid.addWidget(row.up, line, 3);
    grid.addWidget(row.value, line, 4);
    return row;
}

QLayout* QtWindow::BuildChoice(const RowWindowContent& content) {
    choiceCaption_ = new QLabel(Of(content.choiceCaption));
    choice_ = new QComboBox;
    choiceCaption_->setBuddy(choice_);
    for (const CString& entry : content.choices) choice_->addItem(Of(entry));
    QObject::connect(choice_, &QComboBox::currentIndexChanged, dialog_.get(),
                     [this](int entry) { events_->ChoiceMade(entry); });
    auto* const grid = new QGridLayout;
    grid->addWidget(choiceCaption_, 0, 0);
    grid->addWidget(choice_, 0, 1);
    choiceNote_ = new QLabel(Of(content.choiceNote));
    choiceNote_->setMinimumSize(choiceNote_->sizeHint());
    grid->addWidget(choiceNote_, 1, 1);
    grid->setColumnStretch(1, 1);
    return grid;
}

QLayout* QtWindow::BuildButtons(const RowWindowContent& content) {
    auto* const line = new QHBoxLayout;
    bool atLeft = true;
    for (const WindowButton& wanted : content.buttons) {
        if (wanted.role != ButtonRole::Plain && std::exchange(atLeft, false)) {
            line->addStretch(1);
            line->addSpacing(24);
        }
        auto* const button = new QPushButton(Of(wanted.caption));
        button->setDefault(wanted.role == ButtonRole::Accept);
        QObject::connect(button, &QPushButton::clicked, dialog_.get(),
                         [this, id = wanted.id] { events_->ButtonPressed(id); });
        line->addWidget(button);
        buttons_[wanted.id] = button;
    }
    return line;
}

QLabel* QtWindow::BuildPicture() {
    auto* const picture = new QLabel;
    picture->setAlignment(Qt::AlignCenter);
    picture->setWordWrap(true);
    picture->setAutoFillBackground(true);
    picture->setBackgroundRole(QPalette::Base);
    picture->hide();
    return picture;
}

void QtWindow::Build(const RowWindowContent& content) {
    dialog_->setWindowTitle(Of(content.title));
    // The group's rows and the others stand in grids of the same columns.
    QLayout* const top = BuildChoice(content);
    auto* const group = new QGroupBox(Of(content.groupCaption));
    auto* const inGroup = new QGridLayout(group);
    auto* const below = new QGridLayout;
    rows_.clear();
    for (std::size_t i = 0; i < content.rows.size(); ++i)
        rows_.push_back(BuildRow(i < content.groupRows ? *inGroup : *below, i, content));
    groupNote_ = new QLabel;
    inGroup->addWidget(groupNote_, static_cast<int>(content.groupRows), 1, 1, 4);
    inGroup->setColumnStretch(2, 1);
    below->setColumnStretch(2, 1);
    // What stands outside the group keeps the group's inner margins, so that columns align.
    const QMargins margins = inGroup->contentsMargins();
    for (QLayout* const grid : {top, static_cast<QLayout*>(below)})
        grid->setContentsMargins(margins.left() + 1, 0, margins.right() + 1, 0);

    auto* const column = new QVBoxLayout;
    column->addLayout(top);
    column->addWidget(group);
    column->addLayout(below);
    column->addSpacing(8);
    column->addLayout(BuildButtons(content));
    column->addStretch(1);  // beside a picture, which is higher
    picture_ = BuildPicture();
    auto* const whole = new QHBoxLayout(dialog_.get());
    whole->addLayout(column);
    whole->addWidget(picture_);
    whole->setSizeConstraint(QLayout::SetFixedSize);
    AlignColumns(content);
}

/// Gives all captions, and all values, the width of the widest.
void QtWindow::AlignColumns(const RowWindowContent& content) {
    int captionWidth = choiceCaption_->sizeHint().width();
    int valueWidth = 0;
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        captionWidth = std::max(captionWidth, rows_[i].caption->sizeHint().width());
        const QFontMetrics metrics(rows_[i].value->font());
        const QString widest = Of(content.rows[i].widest);
        valueWidth = std::max(valueWidth, metrics.horizontalAdvance(widest));
    }
    // Letters may be drawn a little wider than they are measured.
    captionWidth += choiceCaption_->fontMetrics().averageCharWidth();
    valueWidth += choiceCaption_->fontMetrics().averageCharWidth();
    choiceCaption_->setMinimumWidth(captionWidth);
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

void QtWindow::SetRow(std::size_t row, int position, const CString& value) {
    if (!dialog_) return;
    const QSignalBlocker quiet(rows_[row].slider);
    rows_[row].slider->setValue(position);
    rows_[row].value->setText(Of(value));
}

void QtWindow::ShowPicture(const WindowPicture& picture) {
    if (!dialog_) return;
    const QSize room = dialog_->screen()->availableGeometry().size();
    const int usedWide = dialog_->layout()->sizeHint().width();
    if (picture_->isHidden()) {
        QSize place(kWindowPictureWidth, kWindowPictureHeight);
        const QSize max(std::max(200, room.width() - usedWide - 40),
                        std::max(150, room.height() - 80));
        if (place.width() > max.width() || place.height() > max.height())
            place.scale(max, Qt::KeepAspectRatio);
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
extern "C" ORVIX_API orvix::platform::RowWindow* OrvixMakeRowWindow1();

orvix::platform::RowWindow* OrvixMakeRowWindow1() {
    return new orvix::platform::qt::QtWindow;
}
