// SPDX-License-Identifier: Apache-2.0
#include "Arguments.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>

QString tidyPath(const QString& path) { return QDir::cleanPath(QDir::current().filePath(path)); }

Arguments readArguments() {
  const QCommandLineOption to("to", "Put them into this folder.", "folder");
  const QCommandLineOption start("start", "Begin copying at once.");
  QCommandLineParser parser;
  parser.setApplicationDescription("Copies and moves files and folders.");
  parser.addHelpOption();
  parser.addOptions({to, start});
  parser.addPositionalArgument("files", "What is to be copied or moved.", "[files...]");
  parser.process(*QCoreApplication::instance());

  Arguments arguments;
  for (const QString& path : parser.positionalArguments()) {
    arguments.sources << tidyPath(path);
  }
  if (parser.isSet(to)) {
    arguments.folder = tidyPath(parser.value(to));
  }
  arguments.starts = parser.isSet(start);
  return arguments;
}
