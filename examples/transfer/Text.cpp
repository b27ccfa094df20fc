// SPDX-License-Identifier: Apache-2.0
#include "Text.h"

#include <QFile>

using namespace kestova;

Ref<NSString> pathFromText(const QString& path) {
  return NSString::stringWithFileSystemRepresentation(QFile::encodeName(path).toStdString());
}

QString shownText(const Ref<NSString>& text) {
  return text ? QString::fromStdString(text->displayUTF8()) : QString();
}
