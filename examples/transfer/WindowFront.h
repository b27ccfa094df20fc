// SPDX-License-Identifier: Apache-2.0
#pragma once

class QWidget;

/// Shows the window above all others and gives it the keyboard, because the person asked for it by
/// other means than the window itself.
void bringToFront(QWidget& window);
