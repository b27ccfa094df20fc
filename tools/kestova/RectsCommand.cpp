// SPDX-License-Identifier: Apache-2.0
#include "RectsCommand.h"

#include "FileFailure.h"
#include "InputFile.h"
#include "OutputFile.h"
#include "RectsDrawing.h"
#include "RectsText.h"

#include <KestovaFoundation/Additions/NSGeometryAdditions.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace kestova::tool {
namespace {

using Rects = std::vector<NSRect>;

Ref<NSArray> listOf(const Rects& rects) {
  return NSArray::arrayWithObjects({rects.begin(), rects.end()});
}

Rects rectsOf(const Ref<NSArray>& list) {
  Rects rects;
  for (const id& object : list) {
    rects.push_back(cast<NSValue>(object)->rectValue());
  }
  return rects;
}

std::string contentsOf(InputFile& input) {
  std::string text;
  input.forEachPiece([&](std::span<const std::byte> piece) {
    text.append(reinterpret_cast<const char*>(piece.data()), piece.size());
  });
  return text;
}

void writeFile(const std::string& path, const std::string& text) {
  OutputFile output(path);
  output.write(text);
  output.commit();
}

/// One operation on a list of rectangles.
class RectsCommand : public Command {
 public:
  int run() override {
    InputFile input(path_);
    RectList list = readRects(contentsOf(input), input.displayName());
    const Rects before = std::exchange(list.rects, {});
    list.rects = changed(before);
    const std::string text = textOf(list);
    if (!drawingPath_.empty()) {
      writeFile(drawingPath_, drawingOf({title_, before, list.rects, frame()}));
    }
    writeFile("-", text);
    return kSucceeded;
  }

 protected:
  explicit RectsCommand(CLI::App* arguments) : Command(arguments), title_(arguments->get_name()) {
    arguments->add_option("FILE", path_, "What to read; - or nothing is the standard input");
    arguments->add_option("--svg", drawingPath_, "Draw the rectangles before and after")
        ->option_text("OUT");
    arguments->footer(
        "Rectangles are given as x,y,width,height on a line each, or as a JSON array of arrays of\n"
        "four numbers, and are printed the same way.");
  }

 private:
  virtual Rects changed(const Rects& rects) const = 0;

  /// What else is to be drawn.
  virtual std::optional<NSRect> frame() const { return std::nullopt; }

  const std::string title_;
  std::string path_ = "-";
  std::string drawingPath_;
};

class JoinCommand final : public RectsCommand {
 public:
  using Operation = Ref<NSMutableArray> (*)(const Ref<NSArray>&);

  JoinCommand(CLI::App* arguments, Operation operation)
      : RectsCommand(arguments), operation_(operation) {}

 private:
  Rects changed(const Rects& rects) const override { return rectsOf(operation_(listOf(rects))); }

  const Operation operation_;
};

class BreakCommand final : public RectsCommand {
 public:
  explicit BreakCommand(CLI::App* arguments) : RectsCommand(arguments) {}

 private:
  Rects changed(const Rects& rects) const override {
    if (rects.size() != 2) {
      throw FileFailure("break", "needs two rectangles, not " + std::to_string(rects.size()));
    }
    Ref<NSArray> pieces;
    return NSBreakOverlappingRects(&pieces, rects[0], rects[1]) ? rectsOf(pieces) : rects;
  }
};

/// A check of an argument that `read` is to take: answers what is wrong with it.
template <class Read>
auto takenBy(Read read) {
  return [read](const std::string& argument) {
    try {
      read(argument, argument);
      return std::string();
    } catch (const FileFailure& failure) {
      return std::string(failure.what());
    }
  };
}

class ClipCommand final : public RectsCommand {
 public:
  explicit ClipCommand(CLI::App* arguments) : RectsCommand(arguments) {
    arguments->add_option("--to", clip_, "The rectangle to clip to, as x,y,width,height")
        ->option_text("RECT")
        ->required()
        ->check(takenBy(&readRect));
  }

 private:
  Rects changed(const Rects& rects) const override {
    return rectsOf(NSClipRects(listOf(rects), readRect(clip_, clip_)));
  }
  std::optional<NSRect> frame() const override { return readRect(clip_, clip_); }

  std::string clip_;
};

class OffsetCommand final : public RectsCommand {
 public:
  explicit OffsetCommand(CLI::App* arguments) : RectsCommand(arguments) {
    arguments->add_option("--by", distance_, "How far to move them, as dx,dy")
        ->option_text("DISTANCE")
        ->required()
        ->check(takenBy(&readPoint));
  }

 private:
  Rects changed(const Rects& rects) const override {
    const NSPoint distance = readPoint(distance_, distance_);
    return rectsOf(NSOffsetRects(listOf(rects), distance.x, distance.y));
  }

  std::string distance_;
};

class FlipCommand final : public RectsCommand {
 public:
  explicit FlipCommand(CLI::App* arguments) : RectsCommand(arguments) {
    arguments->add_option("--height", height_, "The height of the space to flip them in")
        ->option_text("H")
        ->required()
        ->check(CLI::Number);
  }

 private:
  Rects changed(const Rects& rects) const override {
    Rects flipped;
    for (const NSRect& rect : rects) {
      flipped.push_back(NSFlipRect(rect, height_));
    }
    return flipped;
  }

  double height_ = 0;
};

}  // namespace

void addRectsCommand(CLI::App& app, Commands& commands) {
  CLI::App* rects = app.add_subcommand("rects", "Join, break and clip lists of rectangles");
  rects->require_subcommand(1);
  const auto add = [&]<class T, class... Arguments>(std::in_place_type_t<T>, const char* name,
                                                    const char* description,
                                                    Arguments... arguments) {
    commands.push_back(std::make_unique<T>(rects->add_subcommand(name, description), arguments...));
  };
  add(std::in_place_type<BreakCommand>, "break", "Break two overlapping rectangles apart");
  add(std::in_place_type<JoinCommand>, "reduce", "Join rectangles that abut exactly",
      &NSReduceRects);
  add(std::in_place_type<JoinCommand>, "merge", "Break all overlaps apart", &NSMergeRects);
  add(std::in_place_type<JoinCommand>, "union", "Join overlapping rectangles into their bounds",
      &NSUnionIntersectingRects);
  add(std::in_place_type<ClipCommand>, "clip", "Keep what lies in a rectangle");
  add(std::in_place_type<OffsetCommand>, "offset", "Move rectangles");
  add(std::in_place_type<FlipCommand>, "flip", "Turn the direction of y around");
}

}  // namespace kestova::tool
