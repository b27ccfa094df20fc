// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

#include <QString>

/// A path of Qt's as the library takes it.
kestova::Ref<kestova::NSString> pathFromText(const QString& path);

/// A text of the library as Qt shows it; empty for null.
QString shownText(const kestova::Ref<kestova::NSString>& text);
