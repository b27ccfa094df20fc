// SPDX-License-Identifier: Apache-2.0
#include "RectsDrawing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace kestova::tool {
namespace {

constexpr double kPanelSide = 260;
constexpr double kMargin = 20;
constexpr double kTitleHeight = 30;

constexpr std::array<std::string_view, 6> kColours = {"#2f6fb0", "#c8553d", "#3f8f5a",
                                                      "#8a5aa8", "#c79a2b", "#3a9aa6"};

std::string textOf(double number) {
  char digits[64];
  const double hundredths = std::round(number * 100) / 100;
  return {digits, std::to_chars(digits, digits + sizeof digits, hundredths).ptr};
}

/// What is to be seen: all rectangles, or a unit square where all are empty.
NSRect boundsOf(const RectsChange& change) {
  NSRect bounds = change.frame.value_or(NSZeroRect);
  for (const auto* list : {&change.before, &change.after}) {
    for (const NSRect& rect : *list) {
      bounds = NSUnionRect(bounds, rect);
    }
  }
  return NSIsEmptyRect(bounds) ? NSMakeRect(0, 0, 1, 1) : bounds;
}

/// One half of the picture.
class Panel {
 public:
  Panel(const NSRect& bounds, double left)
      : bounds_(bounds),
        left_(left),
        scale_(kPanelSide / std::max(bounds.size.width, bounds.size.height)) {}

  std::string titled(std::string_view title) const {
    return "<text x=\"" + textOf(left_) + "\" y=\"20\" class=\"title\">" + std::string(title) +
           "</text>\n";
  }

  std::string rectangle(const NSRect& rect, std::string_view attributes) const {
    return "<rect x=\"" + textOf(x(rect.origin.x)) + "\" y=\"" + textOf(y(NSMaxY(rect))) +
           "\" width=\"" + textOf(rect.size.width * scale_) + "\" height=\"" +
           textOf(rect.size.height * scale_) + "\" " + std::string(attributes) + "/>\n";
  }

  std::string numbered(const NSRect& rect, std::size_t place) const {
    if (NSIsEmptyRect(rect)) {
      return {};
    }
    const std::string colour(kColours[place % kColours.size()]);
    return rectangle(rect, "fill=\"" + colour + "\" fill-opacity=\"0.35\" stroke=\"" + colour +
                               "\" stroke-width=\"1.5\"") +
           "<text x=\"" + textOf(x(rect.origin.x) + 4) + "\" y=\"" + textOf(y(NSMaxY(rect)) + 14) +
           "\" fill=\"" + colour + "\">" + std::to_string(place + 1) + "</text>\n";
  }

  std::string all(const std::vector<NSRect>& rects) const {
    std::string text;
    for (std::size_t place = 0; place < rects.size(); ++place) {
      text += numbered(rects[place], place);
    }
    return text;
  }

 private:
  double x(double value) const { return left_ + (value - bounds_.origin.x) * scale_; }
  double y(double value) const { return kTitleHeight + (NSMaxY(bounds_) - value) * scale_; }

  const NSRect bounds_;
  const double left_;
  const double scale_;
};

std::string panelOf(const RectsChange& change, const Panel& panel, std::string_view title,
                    const std::vector<NSRect>& rects) {
  const std::string frame =
      change.frame
          ? panel.rectangle(*change.frame, "fill=\"none\" stroke=\"#555\" stroke-dasharray=\"5 4\"")
          : "";
  return panel.titled(title) + panel.all(rects) + frame;
}

}  // namespace

std::string drawingOf(const RectsChange& change) {
  const NSRect bounds = boundsOf(change);
  const double longest = std::max(bounds.size.width, bounds.size.height);
  const double width = 3 * kMargin + 2 * kPanelSide;
  const double height = kTitleHeight + kMargin + kPanelSide * (bounds.size.height / longest);
  const Panel before(bounds, kMargin);
  const Panel after(bounds, 2 * kMargin + kPanelSide);
  return "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + textOf(width) + " " +
         textOf(height) + "\" width=\"" + textOf(width) + "\" height=\"" + textOf(height) +
         "\">\n<style>text{font:12px sans-serif}.title{font-size:14px;fill:#333}</style>\n"
         "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n" +
         panelOf(change, before, "before", change.before) +
         panelOf(change, after, "after " + change.title, change.after) + "</svg>\n";
}

}  // namespace kestova::tool
