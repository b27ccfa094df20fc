// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

/// What the command line asks for: `transfer [--to FOLDER] [--start] [FILE…]`.
struct Arguments {
  QStringList sources;
  /// Empty when none is given.
  QString folder;
  /// Whether to begin copying without a click.
  bool starts = false;
};

/// Reads the arguments of the running application; explains itself and ends the process where that
/// is asked for, or where they make no sense.
Arguments readArguments();

/// The same path, absolute and without a slash at its end.
QString tidyPath(const QString& path);
