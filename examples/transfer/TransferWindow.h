// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FrontKey.h"
#include "SharedSettings.h"
#include "Transfer.h"

#include <KestovaPlatform/NSTimer.h>

#include <QCoreApplication>
#include <QWidget>

#include <memory>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class ThroughputGraph;

/// The window: what is to be carried, where to, and how it goes.
class TransferWindow final : public QWidget, private TransferObserver {
  Q_DECLARE_TR_FUNCTIONS(TransferWindow)

 public:
  explicit TransferWindow(QWidget* parent = nullptr);
  ~TransferWindow() override;

  void addSources(const QStringList& paths);
  /// For this window alone, until the person chooses another one.
  void setFolder(const QString& path);

  /// Begins, or says what is missing.
  void start(TransferRequest::Kind kind);

 protected:
  /// A window that is closed while it works first cancels, and then closes by itself.
  void closeEvent(QCloseEvent* event) override;

 private:
  QWidget* makeSources();
  QWidget* makeDestination();
  QWidget* makeAppearance();
  QWidget* makeVerbs();
  void chooseFiles();
  void chooseSourceFolder();
  void chooseFolder();
  void chooseColour();
  void shareFolder();
  void showSettings();

  TransferRequest request(TransferRequest::Kind kind) const;
  void say(const QString& text);
  void transferProgressed() override;
  void transferEnded(const QString& failure) override;
  void setRunning(bool isRunning);

  QListWidget* sources_;
  QLineEdit* folder_;
  QCheckBox* replaces_;
  ThroughputGraph* graph_;
  QComboBox* unit_;
  QProgressBar* progress_;
  QLabel* message_;
  QPushButton* copy_;
  QPushButton* move_;
  QPushButton* cancel_;

  SharedSettings settings_;
  FrontKey frontKey_;
  std::unique_ptr<Transfer> transfer_;
  /// Takes the graph's samples while something is at work.
  kestova::Ref<kestova::NSTimer> sampling_;
  bool closesAtEnd_ = false;
};
