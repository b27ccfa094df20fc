// SPDX-License-Identifier: Apache-2.0
// run-loop-in-qt [FOLDER]: adds up a folder's size and stays responsive meanwhile.
#include <KestovaFoundation/Additions/NSFileManagerAdditions.h>
#include <KestovaFoundation/OVByteFormatter.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSThread.h>
#include <KestovaPlatform/NSTimer.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QShortcut>
#include <QSocketNotifier>

using namespace kestova;

/// Serves the main run loop from Qt's event loop, for as long as it lives.
class HostedRunLoop {
 public:
  HostedRunLoop() {
    QObject::connect(&wakeUps_, &QSocketNotifier::activated, [this] { loop_->turn(); });
  }

 private:
  Ref<NSRunLoop> loop_ = NSRunLoop::mainRunLoop();
  QSocketNotifier wakeUps_{loop_->fileDescriptor(), QSocketNotifier::Read};
};

QString sizeText(const Ref<NSString>& path) {
  const auto files = NSFileManager::defaultManager();
  const auto bytes =
      sizeOfItemAtPath_options(files, path, OVFolderSizeLogical | OVFolderSizeDataFork);
  return QString::fromStdString(
      OVByteFormatter::init()->stringForObjectValue(bytes)->displayUTF8());
}

/// Tells a folder's size as soon as it is known, and until then for how long it has been added up.
class SizeWindow final : public QLabel {
 public:
  SizeWindow() {
    setWindowTitle("Folder size");
    setMinimumSize(320, 80);
    setAlignment(Qt::AlignCenter);
    connect(new QShortcut(QKeySequence::Quit, this), &QShortcut::activated, this, &QWidget::close);
  }

  void addUp(const Ref<NSString>& folder) {
    // A timer of the run loop: its block runs between the events of Qt.
    watch_.start();
    ticks_ = NSTimer::scheduledTimerWithTimeInterval_repeats_block(
        0.1, true, [this](const Ref<NSTimer>&) {
          setText(QString("Adding up for %1 s").arg(watch_.elapsed() / 1000.0, 0, 'f', 1));
        });
    // Work on a thread of its own, and its result on the main thread again.
    dispatch_async(dispatch_get_global_queue(0, 0), [this, folder] {
      const QString size = sizeText(folder);
      performBlockOnMainThread([this, size] { tell(size); }, false);
    });
  }

 private:
  void tell(const QString& size) {
    ticks_->invalidate();
    setText(size);
    setWindowTitle(size + " – Folder size");
  }

  QElapsedTimer watch_;
  Ref<NSTimer> ticks_;
};

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  const HostedRunLoop hosted;
  SizeWindow window;
  window.addUp(NSString::stringWithFileSystemRepresentation(argc > 1 ? argv[1] : "."));
  window.show();
  return QApplication::exec();
}
