// SPDX-License-Identifier: Apache-2.0
#include "ThroughputGraph.h"

#include <QPainter>

#include <algorithm>

namespace {

/// What the samples are drawn over at least, so that two of them don't fill the whole width.
constexpr std::size_t kLeastSpan = 50;
constexpr double kHeadroom = 1.15;

}  // namespace

ThroughputGraph::ThroughputGraph(QWidget* parent) : QWidget(parent) {
  setAccessibleName(tr("Throughput"));
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  refresh();
}

void ThroughputGraph::append(double bytesPerSecond) {
  samples_.push_back(bytesPerSecond);
  if (samples_.size() > kSamples) {
    samples_.pop_front();
  }
  refresh();
}

void ThroughputGraph::clear() {
  samples_.clear();
  refresh();
}

void ThroughputGraph::setColour(const QColor& colour) {
  colour_ = colour;
  update();
}

void ThroughputGraph::setUnit(RateUnit unit) {
  unit_ = unit;
  refresh();
}

void ThroughputGraph::refresh() {
  setAccessibleDescription(words());
  update();
}

QString ThroughputGraph::words() const {
  if (samples_.empty()) {
    return tr("No throughput yet");
  }
  return tr("%1, at most %2").arg(rateText(samples_.back(), unit_), rateText(highest(), unit_));
}

double ThroughputGraph::highest() const {
  return samples_.empty() ? 0 : *std::max_element(samples_.begin(), samples_.end());
}

QPolygonF ThroughputGraph::outline() const {
  const double top = std::max(highest() * kHeadroom, 1.0);
  const double step = width() / static_cast<double>(std::max(samples_.size(), kLeastSpan) - 1);
  double x = width() - step * static_cast<double>(samples_.size() - 1);
  QPolygonF points{{x, static_cast<double>(height())}};
  for (const double sample : samples_) {
    points << QPointF(x, height() * (1 - sample / top));
    x += step;
  }
  return points << QPointF(width(), height());
}

void ThroughputGraph::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.fillRect(rect(), palette().base());
  if (!samples_.empty()) {
    QColor area = colour_;
    area.setAlphaF(0.35F);
    painter.setBrush(area);
    painter.setPen(QPen(colour_, 1.5));
    painter.drawPolygon(outline());
  }
  painter.setPen(palette().text().color());
  painter.drawText(rect().adjusted(8, 6, -8, -6), Qt::AlignTop | Qt::AlignLeft, words());
}
