// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/planes/dialog/window_driver.h"

#include <QtCore/QThread>
#include <QtTest/QtTestGui>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialog>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSlider>
#include <QtWidgets/QToolButton>

namespace orvix::test {
namespace {

using detail::PlaneButton;
using detail::PlaneRow;
using platform::SliderStep;

Qt::Key CodeOf(Key key) {
    switch (key) {
        case Key::Tab:
            return Qt::Key_Tab;
        case Key::Enter:
            return Qt::Key_Return;
        case Key::Escape:
            return Qt::Key_Escape;
        case Key::Left:
            return Qt::Key_Left;
        case Key::Right:
            return Qt::Key_Right;
        case Key::Up:
            return Qt::Key_Up;
        case Key::Down:
            return Qt::Key_Down;
        case Key::PageUp:
            return Qt::Key_PageUp;
        case Key::PageDown:
            break;
    }
    return Qt::Key_PageDown;
}

QDialog* Dialog() {
    for (QWidget* const window : QApplication::topLevelWidgets())
        if (auto* const dialog = qobject_cast<QDialog*>(window)) return dialog;
    return nullptr;
}

QWidget* Focused() {
    QDialog* const dialog = Dialog();
    return dialog->focusWidget() != nullptr ? dialog->focusWidget() : dialog;
}

/// Runs on the window's thread, as a message that waits in its queue; returns when it has run.
template <class Work>
void OnWindow(Work work) {
    if (QThread::currentThread() == qApp->thread()) return work();
    QMetaObject::invokeMethod(qApp, work, Qt::BlockingQueuedConnection);
}

template <class Widget>
Widget* Nth(int index) {
    return Dialog()->findChildren<Widget*>().at(index);
}

/// The label on the right of a slider: the widgets of a row share its middle.
QLabel* ValueOf(const QSlider& slider) {
    QLabel* value = nullptr;
    for (QLabel* const label : slider.parentWidget()->findChildren<QLabel*>())
        if (label->geometry().left() > slider.geometry().right() &&
            std::abs(label->geometry().center().y() - slider.geometry().center().y()) < 5)
            value = label;
    return value;
}

class QtDriver final : public WindowDriver {
public:
    void Press(Key key) override {
        OnWindow([key] { QTest::keyClick(Focused(), CodeOf(key)); });
    }
    void PressWithAlt(char key) override {
        OnWindow([key] { QTest::keyClick(Focused(), key, Qt::AltModifier); });
    }
    void Click(PlaneButton button) override {
        OnWindow([button] {
            QTest::mouseClick(Nth<QPushButton>(static_cast<int>(button)), Qt::LeftButton);
        });
    }
    void Click(PlaneRow row, SliderStep step) override {
        const int index = 2 * static_cast<int>(row) + (step == SliderStep::Up ? 1 : 0);
        OnWindow([index] { QTest::mouseClick(Nth<QToolButton>(index), Qt::LeftButton); });
    }
    void CloseFrame() override {
        OnWindow([] { Dialog()->close(); });
    }
    std::string Focus() override {
        std::string name;
        OnWindow([&name] { name = NameOf(Focused()); });
        return name;
    }
    CString Value(PlaneRow row) override {
        CString text;
        OnWindow(
            [&] { text = ValueOf(*Nth<QSlider>(static_cast<int>(row)))->text().toStdWString(); });
        return text;
    }
    bool Visible() override {
        bool visible = false;
        OnWindow([&visible] { visible = Dialog()->isVisible(); });
        return visible;
    }
    int Width() override {
        int width = 0;
        OnWindow([&width] { width = Dialog()->width(); });
        return width;
    }
    std::vector<CString> CutOff() override {
        std::vector<CString> cut;
        OnWindow([&cut] {
            const auto check = [&cut](const QWidget& widget, const QString& text) {
                if (widget.isVisible() && widget.width() < widget.sizeHint().width())
                    cut.push_back(text.toStdWString());
            };
            for (const auto* label : Dialog()->findChildren<QLabel*>())
                check(*label, label->text());
            for (const auto* button : Dialog()->findChildren<QPushButton*>())
                check(*button, button->text());
            for (const auto* choice : Dialog()->findChildren<QComboBox*>())
                check(*choice, choice->currentText());
            for (const auto* group : Dialog()->findChildren<QGroupBox*>())
                check(*group, group->title());
        });
        return cut;
    }

private:
    static std::string NameOf(QWidget* widget) {
        if (qobject_cast<QComboBox*>(widget) != nullptr) return "choice";
        const auto slider = Dialog()->findChildren<QSlider*>().indexOf(widget);
        if (slider >= 0) return "slider " + std::to_string(slider);
        const auto button = Dialog()->findChildren<QPushButton*>().indexOf(widget);
        return (button >= 0 ? "button " : "other ") + std::to_string(button);
    }
};

}  // namespace

std::unique_ptr<WindowDriver> WindowDriver::Make() {
    return std::make_unique<QtDriver>();
}

}  // namespace orvix::test
