/// One widget in the place of another.
#ifndef KYFOCUS_UI_CONTROLS_CONTROL_PLACE_H
#define KYFOCUS_UI_CONTROLS_CONTROL_PLACE_H

#include <QLineEdit>

namespace kyfui {

/// Puts `edit` where `place` is, with its cell or geometry, number, name, texts, looks, validator, state, tab position,
/// focus and label, and deletes `place` when control returns to the event loop.
void TakePlaceOf(QLineEdit& place, QLineEdit& edit);

} // namespace kyfui

#endif
