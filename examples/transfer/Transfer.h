// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/OVFileOperation.h>

#include <QCoreApplication>
#include <QObject>
#include <QString>
#include <QStringList>

/// What is to be carried, and where.
struct TransferRequest {
  enum class Kind { kCopy, kMove };

  Kind kind = Kind::kCopy;
  /// Absolute paths without a slash at the end.
  QStringList sources;
  /// Each source arrives in it under its own name.
  QString folder;
  bool replaces = false;
};

/// Hears how a transfer goes. Called between the events of Qt.
class TransferObserver {
 public:
  virtual void transferProgressed() = 0;

  /// Once, last: with no text when all has arrived, else with what went wrong.
  virtual void transferEnded(const QString& failure) = 0;

 protected:
  ~TransferObserver() = default;
};

/// Carries items one after the other and stops at the first that fails. It lives on the main thread
/// and never holds it up: the work itself is done elsewhere.
class Transfer final : public QObject, private kestova::OVFileOperationDelegate {
  Q_DECLARE_TR_FUNCTIONS(Transfer)

 public:
  /// The observer outlives it.
  Transfer(TransferRequest request, TransferObserver& observer);
  /// Stops what is still at work.
  ~Transfer() override;

  /// Begins; what follows is told to the observer.
  void start();

  /// Asks for the end, which comes soon.
  void cancel();

  /// The figures of the item at work. Null before the first one.
  const kestova::Ref<kestova::OVFileOperation>& item() const { return item_; }

 private:
  void startNext();
  kestova::OSStatus startItem(const QString& source);
  void end(const QString& failure);
  static QString cancelledText();
  QString failureText(kestova::OSStatus status) const;

  void fileOperationStatusChanged(const kestova::Ref<kestova::OVFileOperation>& item) override;
  void fileOperationDidFinish_error(const kestova::Ref<kestova::OVFileOperation>& item,
                                    kestova::OSStatus error) override;

  const TransferRequest request_;
  TransferObserver& observer_;
  qsizetype next_ = 0;
  bool hasEnded_ = false;
  kestova::Ref<kestova::OVFileOperation> item_;
};
