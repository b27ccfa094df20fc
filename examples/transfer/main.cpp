// SPDX-License-Identifier: Apache-2.0
// transfer [--to FOLDER] [--start] [FILE…]: copies and moves, with a graph of the throughput.
#include "Arguments.h"
#include "TransferWindow.h"

#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSRunLoop.h>

#include <QApplication>
#include <QSocketNotifier>

using namespace kestova;

int main(int argc, char** argv) {
  NSBundle::declareMainBundleIdentifier("org.kestova.examples.Transfer");
  QApplication application(argc, argv);

  // All of the library's run loop in Qt's: whenever it has something to do, it takes a turn.
  const auto loop = NSRunLoop::mainRunLoop();
  QSocketNotifier wakeUps(loop->fileDescriptor(), QSocketNotifier::Read);
  QObject::connect(&wakeUps, &QSocketNotifier::activated, [&] { loop->turn(); });

  const Arguments arguments = readArguments();
  TransferWindow window;
  window.addSources(arguments.sources);
  if (!arguments.folder.isEmpty()) {
    window.setFolder(arguments.folder);
  }
  window.show();
  if (arguments.starts) {
    window.start(TransferRequest::Kind::kCopy);
  }
  return QApplication::exec();
}
