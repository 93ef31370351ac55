#include "ui/dialogs/widgets.h"

#include <QEvent>
#include <QFontMetrics>
#include <QKeyEvent>
#include <kyfocus/ui/control_id.h>

#include "ui/resources/resources.h"

namespace kyfui {

namespace {

/// Width and height of a picture in lines of text.
constexpr int kPictureWidthInLines = 4;
constexpr int kPictureHeightInLines = 3;
constexpr int kSliderWidthInDigits = 24;
constexpr int kSliderSpare = 4; // pixels

/// The wheel belongs to the window until the control is chosen: scrolled past, it would change its value unseen.
class WheelGuard : public QObject {
  public:
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::Wheel || static_cast<QWidget*>(watched)->hasFocus()) return false;
        event->ignore();
        return true;
    }
};

/// Its picture grows with the text beside it.
class PictureButton : public QToolButton {
  public:
    explicit PictureButton(QWidget* parent) : QToolButton(parent) { FollowFont(); }

  protected:
    void changeEvent(QEvent* event) override {
        QToolButton::changeEvent(event);
        if (event->type() == QEvent::FontChange) FollowFont();
    }

  private:
    void FollowFont() {
        const int line = fontMetrics().height();
        setIconSize(QSize(kPictureWidthInLines * line, kPictureHeightInLines * line));
    }
};

template <class Button> Button* MakeTextButton(int id, QWidget* parent) {
    auto* const button = new Button(Text(id), parent);
    Describe(*button, id);
    return button;
}

} // namespace

QString ObjectName(int id) { return QStringLiteral("0x") + QString::number(id, 16).toUpper(); }

void Describe(QWidget& widget, int id) {
    widget.setObjectName(ObjectName(id));
    KyfSetControlId(&widget, id);
    widget.setToolTip(ToolTip(id));
    widget.setAccessibleName(AccessibleName(id));
    widget.setAccessibleDescription(ToolTip(id));
}

QRadioButton* MakeRadio(int id, QWidget* parent) { return MakeTextButton<QRadioButton>(id, parent); }

QCheckBox* MakeCheck(int id, QWidget* parent) { return MakeTextButton<QCheckBox>(id, parent); }

QPushButton* MakeButton(int id, QWidget* parent) {
    auto* const button = MakeTextButton<QPushButton>(id, parent);
    button->setAutoDefault(false);
    return button;
}

QToolButton* MakePictureButton(int id, int pictureId, QWidget* parent) {
    auto* const button = new PictureButton(parent);
    Describe(*button, id);
    button->setIcon(Picture(pictureId));
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

QComboBox* MakeCombo(int id, std::initializer_list<int> entryIds, int placeholderId, QWidget* parent) {
    auto* const combo = new QComboBox(parent);
    Describe(*combo, id);
    for (const int entryId : entryIds) combo->addItem(Text(entryId));
    GuardWheel(*combo);
    if (placeholderId != 0) combo->setPlaceholderText(Text(placeholderId));
    return combo;
}

QLabel* MakeLabel(int id, QWidget* buddy, QWidget* parent) {
    auto* const label = new QLabel(Text(id), parent);
    label->setObjectName(ObjectName(id));
    label->setBuddy(buddy);
    return label;
}

QGroupBox* MakeGroup(int id, QWidget* parent) {
    auto* const group = new QGroupBox(Text(id), parent);
    group->setObjectName(ObjectName(id));
    return group;
}

QDialogButtonBox* MakeDialogButtons(QDialog* dialog) {
    auto* const box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    const auto name = [box](QDialogButtonBox::StandardButton which, int id) {
        QPushButton* const button = box->button(which);
        button->setText(Text(id));
        Describe(*button, id);
        button->setDefault(which == QDialogButtonBox::Ok);
    };
    name(QDialogButtonBox::Ok, kIdOk);
    name(QDialogButtonBox::Cancel, kIdCancel);
    QObject::connect(box, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(box, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    return box;
}

void GuardWheel(QWidget& widget) {
    widget.setFocusPolicy(Qt::StrongFocus);
    widget.installEventFilter(new WheelGuard(&widget));
}

void SetWidthInDigits(QLineEdit& field, int digits) {
    const QFontMetrics metrics(field.font());
    const int spare = field.sizeHint().width() - metrics.horizontalAdvance(QLatin1Char('x')) * 17; // of the hint
    field.setFixedWidth(metrics.horizontalAdvance(QString(digits, QLatin1Char('0'))) + qMax(spare, metrics.height()));
}

void ShapeSlider(QSlider& slider) {
    slider.setTickPosition(QSlider::TicksBelow);
    slider.setMinimumSize(kSliderWidthInDigits * slider.fontMetrics().horizontalAdvance(QLatin1Char('0')),
                          slider.sizeHint().height() + kSliderSpare);
}

void CheckRadio(QButtonGroup& group, int id) {
    QAbstractButton* const chosen = group.button(id);
    if (chosen != nullptr) {
        chosen->setChecked(true);
    } else {
        group.setExclusive(false); // an exclusive group never gives up its last one
        for (QAbstractButton* const button : group.buttons()) button->setChecked(false);
        group.setExclusive(true);
    }
    const QAbstractButton* const stop = chosen != nullptr ? chosen : group.buttons().value(0);
    for (QAbstractButton* const button : group.buttons())
        button->setFocusPolicy(button == stop ? Qt::StrongFocus : Qt::ClickFocus);
}

void KeepPlaceWhenHidden(QWidget& widget) {
    QSizePolicy policy = widget.sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    widget.setSizePolicy(policy);
}

bool IsEnter(const QKeyEvent& event) { return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter; }

bool IsEscape(const QKeyEvent& event) { return event.key() == Qt::Key_Escape; }

} // namespace kyfui
