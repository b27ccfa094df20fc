// SPDX-License-Identifier: Apache-2.0
#include "TransferWindow.h"

#include "Arguments.h"
#include "RateText.h"
#include "Text.h"
#include "ThroughputGraph.h"

#include <KestovaFoundation/OVTimeFormatter.h>
#include <KestovaPlatform/NSNumber.h>

#include <QCheckBox>
#include <QCloseEvent>
#include <QColorDialog>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

#include <utility>

using namespace kestova;

namespace {

constexpr double kSamplingInterval = 0.1;  // seconds; the graph shows a minute

/// The bar counts in these, because it counts in an int.
constexpr int kBarSteps = 10000;

template <class Context, class Action>
QPushButton* makeButton(const QString& text, Context* context, Action action) {
  auto* button = new QPushButton(text);
  QObject::connect(button, &QPushButton::clicked, context, action);
  return button;
}

QString timeLeft(const OVFileOperation& item) {
  if (item.throughput() <= 0) {
    return {};
  }
  const auto formatter = OVTimeFormatter::init();
  formatter->setTimeStyle(2);
  const auto seconds = static_cast<double>(item.bytesRemaining()) / item.throughput();
  return ", " + shownText(formatter->stringForObjectValue(seconds)) + " left";
}

}  // namespace

TransferWindow::TransferWindow(QWidget* parent)
    : QWidget(parent),
      sources_(new QListWidget),
      folder_(new QLineEdit),
      replaces_(new QCheckBox(tr("&Replace what is there"))),
      graph_(new ThroughputGraph),
      unit_(new QComboBox),
      progress_(new QProgressBar),
      message_(new QLabel),
      copy_(makeButton(tr("&Copy"), this, [this] { start(TransferRequest::Kind::kCopy); })),
      move_(makeButton(tr("&Move"), this, [this] { start(TransferRequest::Kind::kMove); })),
      cancel_(makeButton(tr("C&ancel"), this, [this] { transfer_->cancel(); })),
      settings_([this] { showSettings(); }),
      frontKey_(*this) {
  setWindowTitle(tr("Transfer"));
  progress_->setRange(0, kBarSteps);
  progress_->setAccessibleName(tr("Progress"));
  message_->setAccessibleName(tr("Message"));
  message_->setWordWrap(true);
  auto* column = new QVBoxLayout(this);
  column->addWidget(makeSources(), 1);
  column->addWidget(makeDestination());
  column->addWidget(graph_, 2);
  column->addWidget(makeAppearance());
  column->addWidget(progress_);
  column->addWidget(message_);
  column->addWidget(makeVerbs());
  column->addWidget(new QLabel(frontKey_.hint()));
  connect(new QShortcut(QKeySequence::Quit, this), &QShortcut::activated, this, &QWidget::close);
  setRunning(false);
  showSettings();
  say(tr("Choose what to copy or move, and where to."));
}

TransferWindow::~TransferWindow() {
  if (sampling_) {
    sampling_->invalidate();
  }
}

QWidget* TransferWindow::makeSources() {
  auto* group = new QWidget;
  sources_->setAccessibleName(tr("What to copy or move"));
  sources_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  auto* remove = makeButton(tr("Remo&ve"), this, [this] { qDeleteAll(sources_->selectedItems()); });
  connect(new QShortcut(QKeySequence::Delete, sources_, nullptr, nullptr, Qt::WidgetShortcut),
          &QShortcut::activated, remove, &QPushButton::click);
  auto* buttons = new QVBoxLayout;
  buttons->addWidget(makeButton(tr("Add &files…"), this, &TransferWindow::chooseFiles));
  buttons->addWidget(makeButton(tr("Add f&older…"), this, &TransferWindow::chooseSourceFolder));
  buttons->addWidget(remove);
  buttons->addStretch();
  auto* row = new QHBoxLayout(group);
  row->setContentsMargins({});
  row->addWidget(sources_, 1);
  row->addLayout(buttons);
  return group;
}

QWidget* TransferWindow::makeDestination() {
  auto* group = new QWidget;
  auto* row = new QHBoxLayout;
  row->addWidget(folder_, 1);
  row->addWidget(makeButton(tr("C&hoose…"), this, &TransferWindow::chooseFolder));
  connect(folder_, &QLineEdit::editingFinished, this, &TransferWindow::shareFolder);
  connect(replaces_, &QCheckBox::clicked, this, [this](bool is) { settings_.setReplaces(is); });
  auto* label = new QLabel(tr("&Into the folder:"));
  label->setBuddy(folder_);
  auto* form = new QFormLayout(group);
  form->setContentsMargins({});
  form->addRow(label, row);
  form->addRow(QString(), replaces_);
  return group;
}

QWidget* TransferWindow::makeAppearance() {
  auto* group = new QWidget;
  unit_->addItems({tr("bytes"), tr("bits")});
  connect(unit_, &QComboBox::activated, this,
          [this](int row) { settings_.setRateUnit(static_cast<RateUnit>(row)); });
  auto* label = new QLabel(tr("Show the &throughput in"));
  label->setBuddy(unit_);
  auto* row = new QHBoxLayout(group);
  row->setContentsMargins({});
  row->addWidget(label);
  row->addWidget(unit_);
  row->addWidget(makeButton(tr("Co&lour…"), this, &TransferWindow::chooseColour));
  row->addStretch();
  return group;
}

QWidget* TransferWindow::makeVerbs() {
  auto* group = new QWidget;
  copy_->setDefault(true);
  auto* row = new QHBoxLayout(group);
  row->setContentsMargins({});
  row->addStretch();
  for (QPushButton* button : {copy_, move_, cancel_}) {
    row->addWidget(button);
  }
  return group;
}

void TransferWindow::chooseFiles() {
  addSources(QFileDialog::getOpenFileNames(this, tr("Files to copy or move")));
}

void TransferWindow::chooseSourceFolder() {
  const QString path = QFileDialog::getExistingDirectory(this, tr("Folder to copy or move"));
  if (!path.isEmpty()) {
    addSources({path});
  }
}

void TransferWindow::chooseFolder() {
  const QString path =
      QFileDialog::getExistingDirectory(this, tr("Folder to copy or move into"), folder_->text());
  if (!path.isEmpty()) {
    folder_->setText(path);
    shareFolder();
  }
}

void TransferWindow::chooseColour() {
  const QColor colour = QColorDialog::getColor(settings_.graphColour(), this, tr("Graph colour"));
  if (colour.isValid()) {
    settings_.setGraphColour(colour);
  }
}

void TransferWindow::addSources(const QStringList& paths) { sources_->addItems(paths); }

void TransferWindow::setFolder(const QString& path) {
  folder_->setText(path);
  folder_->setModified(true);
}

void TransferWindow::shareFolder() {
  if (folder_->text() != settings_.folder()) {
    settings_.setFolder(folder_->text());
  }
  folder_->setModified(false);
}

void TransferWindow::showSettings() {
  // A folder that is being written here, or was given to this window alone, stays.
  if (!folder_->isModified()) {
    folder_->setText(settings_.folder());
  }
  replaces_->setChecked(settings_.replaces());
  unit_->setCurrentIndex(static_cast<int>(settings_.rateUnit()));
  graph_->setUnit(settings_.rateUnit());
  graph_->setColour(settings_.graphColour());
}

TransferRequest TransferWindow::request(TransferRequest::Kind kind) const {
  TransferRequest request{.kind = kind,
                          .sources = {},
                          .folder = tidyPath(folder_->text()),
                          .replaces = replaces_->isChecked()};
  for (int row = 0; row < sources_->count(); ++row) {
    request.sources << tidyPath(sources_->item(row)->text());
  }
  return request;
}

void TransferWindow::start(TransferRequest::Kind kind) {
  if (sources_->count() == 0 || folder_->text().isEmpty()) {
    say(sources_->count() == 0 ? tr("There is nothing to copy or move: add files or a folder.")
                               : tr("There is no folder to put them into: choose one."));
    return;
  }
  transfer_ = std::make_unique<Transfer>(request(kind), static_cast<TransferObserver&>(*this));
  graph_->clear();
  setWindowTitle(tr("Transfer"));
  setRunning(true);
  sampling_ = NSTimer::scheduledTimerWithTimeInterval_repeats_block(
      kSamplingInterval, true,
      [this](const Ref<NSTimer>&) { graph_->append(transfer_->item()->throughput()); });
  transfer_->start();
}

void TransferWindow::transferProgressed() {
  const OVFileOperation& item = *transfer_->item();
  if (item.totalBytes() > 0) {
    progress_->setValue(static_cast<int>(kBarSteps * static_cast<double>(item.bytesComplete()) /
                                         static_cast<double>(item.totalBytes())));
    setWindowTitle(tr("%1 – Transfer").arg(progress_->text()));
  }
  say(tr("%1: %2 of %3%4")
          .arg(shownText(item.currentFile()), byteText(item.bytesComplete()),
               byteText(item.totalBytes()), timeLeft(item)));
}

void TransferWindow::transferEnded(const QString& failure) {
  sampling_->invalidate();
  graph_->append(transfer_->item()->throughput());
  setRunning(false);
  if (failure.isEmpty()) {
    progress_->setValue(kBarSteps);
  }
  setWindowTitle(failure.isEmpty() ? tr("Done – Transfer") : tr("Stopped – Transfer"));
  say(failure.isEmpty() ? tr("Everything has arrived.") : failure);
  if (closesAtEnd_) {
    close();
  }
}

void TransferWindow::say(const QString& text) { message_->setText(text); }

void TransferWindow::setRunning(bool isRunning) {
  copy_->setEnabled(!isRunning);
  move_->setEnabled(!isRunning);
  cancel_->setEnabled(isRunning);
}

void TransferWindow::closeEvent(QCloseEvent* event) {
  if (cancel_->isEnabled()) {
    closesAtEnd_ = true;
    transfer_->cancel();
    event->ignore();
  }
}
