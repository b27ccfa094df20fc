// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "RateText.h"

#include <QColor>
#include <QCoreApplication>
#include <QWidget>

#include <deque>

/// Draws the throughput of the last minute, the newest at the right, and tells the present and the
/// highest one in words.
class ThroughputGraph final : public QWidget {
  Q_DECLARE_TR_FUNCTIONS(ThroughputGraph)

 public:
  /// How many samples are drawn; the one before the oldest of them is forgotten.
  static constexpr std::size_t kSamples = 600;

  explicit ThroughputGraph(QWidget* parent = nullptr);

  /// Adds the throughput of this moment, in bytes per second.
  void append(double bytesPerSecond);

  /// Forgets everything.
  void clear();

  void setColour(const QColor& colour);
  void setUnit(RateUnit unit);

  QSize sizeHint() const override { return {420, 140}; }
  QSize minimumSizeHint() const override { return {200, 80}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QString words() const;
  double highest() const;
  QPolygonF outline() const;
  void refresh();

  std::deque<double> samples_;
  QColor colour_ = Qt::darkCyan;
  RateUnit unit_ = RateUnit::kBytes;
};
