#include <kyfocus/ui/slider_edit.h>

#include <optional>
#include <span>
#include <string>

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QMimeData>

#include <kyfocus/ui/control_id.h>

#include "ui/controls/control_place.h"
#include "ui/controls/link_slider_body.h"
#include "ui/controls/slider_edit_body.h"

namespace {

std::wstring OrShortest(const wchar_t* format, bool isDouble) {
    if (format != nullptr) return format;
    return isDouble ? L"%g" : L"%d";
}

template <class T> KyiBool Take(const std::optional<T>& found, T& value) {
    if (found) value = *found;
    return found ? 1 : 0;
}

/// Whether a key press stands for text, not for a command.
bool IsTyping(const QKeyEvent& event) {
    const bool command =
        event.modifiers() == Qt::ControlModifier || event.modifiers() == (Qt::ControlModifier | Qt::ShiftModifier);
    const QString text = event.text();
    return !command && !text.isEmpty() && text.front() != QChar(0x7F);
}

} // namespace

CKyfSliderEdit::CKyfSliderEdit(QWidget* parent)
    : QLineEdit(parent), m_body(std::make_unique<kyfui::SliderEditBody>(*this)) {
    connect(this, &QLineEdit::textChanged, this, [this] { m_body->Rules.OnUpdate(); });
}

CKyfSliderEdit::~CKyfSliderEdit() = default;

KyiBool CKyfSliderEdit::SubclassEdit(int id, QWidget* parent, std::uint16_t parseType) {
    SetParseType(parseType);
    auto* const place = KyfFindControl<QLineEdit>(parent, id);
    if (place == nullptr) return 0;
    if (place != this) kyfui::TakePlaceOf(*place, *this);
    return 1;
}

void CKyfSliderEdit::SetParseType(std::uint16_t parseType) {
    m_body->Rules.SetParseType(parseType);
    setInputMethodHints(kyfui::HintsFor(parseType));
}

KyiBool CKyfSliderEdit::SetSlideLink(QWidget* dialog, int sliderId) {
    auto* const slider = KyfFindControl<CKyfLinkSlider>(dialog, sliderId);
    if (slider == nullptr) return 0;
    SetSlideLink(slider);
    return 1;
}

void CKyfSliderEdit::SetSlideLink(CKyfLinkSlider* slider) {
    m_body->Rules.SetSlideLink(slider != nullptr ? &slider->m_body->Rules : nullptr);
}

void CKyfSliderEdit::SetFormatString(const wchar_t* text) {
    m_body->Rules.SetFormatString(OrShortest(text, m_body->Rules.IsDouble()));
}

void CKyfSliderEdit::SetPer(int per) { m_body->Rules.SetPer(per); }

KyiBool CKyfSliderEdit::SetParams(int min, int max, int ticks) {
    m_body->Rules.SetParams(min, max, ticks);
    SetParseType(m_body->Rules.ParseType());
    return 1;
}

KyiBool CKyfSliderEdit::SetParams(double min, double max, int ticks, const wchar_t* format, int decimals) {
    m_body->Rules.SetParams(min, max, ticks, OrShortest(format, true), decimals);
    SetParseType(m_body->Rules.ParseType());
    return 1;
}

KyiBool CKyfSliderEdit::SetParams(double min, double max, const double* table, std::int64_t count, int ticks,
                                  const wchar_t* format) {
    if (table == nullptr || count < 1) return 0;
    m_body->Rules.SetParams(min, max, std::span(table, static_cast<std::size_t>(count)), ticks,
                            OrShortest(format, true));
    SetParseType(m_body->Rules.ParseType());
    return 1;
}

KyiBool CKyfSliderEdit::InitSlider() { return m_body->Rules.InitSlider() ? 1 : 0; }

KyiBool CKyfSliderEdit::SetValue(int value) { return m_body->Rules.SetValue(value) ? 1 : 0; }

KyiBool CKyfSliderEdit::SetValue(double value) { return m_body->Rules.SetValue(value) ? 1 : 0; }

KyiBool CKyfSliderEdit::GetValue(int& value) const { return Take(m_body->Rules.GetIntValue(), value); }

KyiBool CKyfSliderEdit::GetValue(double& value) const { return Take(m_body->Rules.GetDoubleValue(), value); }

KyiBool CKyfSliderEdit::UpdateEdit(int position) { return m_body->Rules.UpdateEdit(position) ? 1 : 0; }

void CKyfSliderEdit::OnBadInput() { QApplication::beep(); }

bool CKyfSliderEdit::Accepts(const QString& text) const { return kyfui::AcceptsAll(m_body->Rules.ParseType(), text); }

void CKyfSliderEdit::InsertIfAccepted(const QString& text) {
    if (isReadOnly()) return;
    if (Accepts(text))
        insert(text);
    else
        OnBadInput();
}

void CKyfSliderEdit::paste() { InsertIfAccepted(QApplication::clipboard()->text().trimmed()); }

void CKyfSliderEdit::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Paste)) {
        paste();
        event->accept();
    } else if (!isReadOnly() && IsTyping(*event) && !Accepts(event->text())) {
        OnBadInput();
        event->accept();
    } else
        QLineEdit::keyPressEvent(event);
}

/// What an input method hands over is typed text: what passes goes in, character by character.
void CKyfSliderEdit::inputMethodEvent(QInputMethodEvent* event) {
    if (isReadOnly()) return event->ignore();
    const QString accepted = kyfui::AcceptedPart(m_body->Rules.ParseType(), event->commitString());
    if (accepted == event->commitString()) return QLineEdit::inputMethodEvent(event);
    QInputMethodEvent filtered(event->preeditString(), event->attributes());
    filtered.setCommitString(accepted, event->replacementStart(), event->replacementLength());
    QLineEdit::inputMethodEvent(&filtered);
    OnBadInput();
}

/// The field's own menu takes the focus for a while; the user has not left.
void CKyfSliderEdit::focusOutEvent(QFocusEvent* event) {
    if (event->reason() != Qt::PopupFocusReason) m_body->Rules.OnKillFocus();
    QLineEdit::focusOutEvent(event);
}

void CKyfSliderEdit::contextMenuEvent(QContextMenuEvent* event) {
    QMenu* const menu = createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (QAction* const action : menu->actions()) {
        if (!action->text().startsWith(QLineEdit::tr("&Paste"))) continue;
        disconnect(action, &QAction::triggered, nullptr, nullptr);
        connect(action, &QAction::triggered, this, &CKyfSliderEdit::paste);
    }
    menu->popup(event->globalPos());
}

/// The middle button pastes the selection where there is one.
void CKyfSliderEdit::mouseReleaseEvent(QMouseEvent* event) {
    const QClipboard& clipboard = *QApplication::clipboard();
    if (event->button() != Qt::MiddleButton || !clipboard.supportsSelection())
        return QLineEdit::mouseReleaseEvent(event);
    deselect();
    InsertIfAccepted(clipboard.text(QClipboard::Selection).trimmed());
}

/// Drops go in as what is pasted does, at the place that the pointer shows.
void CKyfSliderEdit::dropEvent(QDropEvent* event) {
    if (isReadOnly()) return QLineEdit::dropEvent(event);
    QMimeData trimmed;
    trimmed.setText(event->mimeData()->text().trimmed());
    if (!Accepts(trimmed.text())) {
        event->ignore();
        return OnBadInput();
    }
    QDropEvent drop(event->position(), event->possibleActions(), &trimmed, event->buttons(), event->modifiers());
    drop.setDropAction(event->dropAction());
    QLineEdit::dropEvent(&drop);
    event->setDropAction(drop.dropAction());
    event->setAccepted(drop.isAccepted());
}
