// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/OVHotKey.h>

#include <QCoreApplication>
#include <QString>

class QWidget;

/// Ctrl+Alt+K, wherever the keyboard is, brings the window to the front while this lives.
class FrontKey {
  Q_DECLARE_TR_FUNCTIONS(FrontKey)

 public:
  explicit FrontKey(QWidget& window);
  ~FrontKey();
  FrontKey(const FrontKey&) = delete;
  FrontKey& operator=(const FrontKey&) = delete;

  /// What to tell the person: that there is the key, or that another program has it.
  QString hint() const;

 private:
  /// Null where the key is taken, or the desktop has no such keys.
  const kestova::Ref<kestova::OVHotKey> hotKey_;
};
