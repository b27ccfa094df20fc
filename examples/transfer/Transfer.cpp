// SPDX-License-Identifier: Apache-2.0
#include "Transfer.h"

#include "Text.h"

#include <KestovaPlatform/MacErrors.h>

#include <QDir>
#include <QFileInfo>

#include <utility>

using namespace kestova;

Transfer::Transfer(TransferRequest request, TransferObserver& observer)
    : request_(std::move(request)), observer_(observer) {}

Transfer::~Transfer() {
  if (item_) {
    item_->setDelegate(nullptr);
  }
}

void Transfer::start() { startNext(); }

void Transfer::cancel() {
  if (item_) {
    item_->cancel();
  }
}

void Transfer::startNext() {
  if (item_ && item_->isCancelled()) {
    end(cancelledText());
    return;
  }
  if (next_ == request_.sources.size()) {
    end({});
    return;
  }
  const OSStatus status = startItem(request_.sources[next_]);
  ++next_;
  if (status != noErr) {
    end(failureText(status));
  }
}

OSStatus Transfer::startItem(const QString& source) {
  const auto from = pathFromText(source);
  const auto to = pathFromText(QDir(request_.folder).filePath(QFileInfo(source).fileName()));
  const OptionBits options =
      request_.replaces ? kFSFileOperationOverwrite : kFSFileOperationDefaultOptions;
  item_ = OVFileOperation::init();
  item_->setDelegate(this);
  return request_.kind == TransferRequest::Kind::kCopy
             ? item_->beginCopyFromPath_toPath_options(from, to, options)
             : item_->beginMoveFromPath_toPath_options(from, to, options);
}

void Transfer::fileOperationStatusChanged(const Ref<OVFileOperation>& item) {
  observer_.transferProgressed();
  if (item->isCancelled()) {
    end(cancelledText());
  }
}

void Transfer::fileOperationDidFinish_error(const Ref<OVFileOperation>&, OSStatus error) {
  if (error != noErr) {
    end(failureText(error));
    return;
  }
  // The operation that tells this is let go of by the next one, so that one waits for its return.
  QMetaObject::invokeMethod(
      this, [this] { startNext(); }, Qt::QueuedConnection);
}

void Transfer::end(const QString& failure) {
  if (!std::exchange(hasEnded_, true)) {
    QMetaObject::invokeMethod(
        this, [this, failure] { observer_.transferEnded(failure); }, Qt::QueuedConnection);
  }
}

QString Transfer::cancelledText() { return tr("Cancelled. What had arrived before stays."); }

QString Transfer::failureText(OSStatus status) const {
  const QString place =
      item_->currentFile() ? shownText(item_->currentFile()) : request_.sources[next_ - 1];
  const QString what = request_.kind == TransferRequest::Kind::kCopy ? tr("copied") : tr("moved");
  return tr("%1 could not be %2. %3.")
      .arg(place, what, QString::fromUtf8(GetMacOSStatusCommentString(status)));
}
