// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "RateText.h"

#include <KestovaFoundation/OVUserDefaults.h>

#include <QColor>
#include <QString>

#include <functional>

/// What all running windows of the program share: a change in one of them is seen in all others at
/// once, and by the program when it is started the next time.
///
/// On the main thread alone.
class SharedSettings {
 public:
  /// `changed` is called after each change that a window has made, this one or another, until the
  /// settings go.
  explicit SharedSettings(std::function<void()> changed);
  ~SharedSettings();
  SharedSettings(const SharedSettings&) = delete;
  SharedSettings& operator=(const SharedSettings&) = delete;

  /// Where things are copied or moved to; empty at first.
  QString folder() const;
  void setFolder(const QString& path);

  /// Whether what is there is replaced.
  bool replaces() const;
  void setReplaces(bool replaces);

  QColor graphColour() const;
  void setGraphColour(const QColor& colour);

  RateUnit rateUnit() const;
  void setRateUnit(RateUnit unit);

 private:
  const kestova::Ref<kestova::OVUserDefaults> defaults_;
  kestova::id observer_;
};
