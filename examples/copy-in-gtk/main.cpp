// SPDX-License-Identifier: Apache-2.0
// copy-in-gtk FROM TO: copies a file or a folder in a window with a progress bar.
#include <KestovaFoundation/KestovaFoundation.h>

#include <glib-unix.h>
#include <gtk/gtk.h>

#include <iostream>
#include <string>

using namespace kestova;

/// Serves the main run loop from GTK's main loop, until the program ends.
void hostRunLoop() {
  const GUnixFDSourceFunc takeTurn = [](gint, GIOCondition, gpointer) -> gboolean {
    NSRunLoop::mainRunLoop()->turn();
    return G_SOURCE_CONTINUE;
  };
  GSource* wakeUps = g_unix_fd_source_new(NSRunLoop::mainRunLoop()->fileDescriptor(), G_IO_IN);
  g_source_set_callback(wakeUps, G_SOURCE_FUNC(takeTurn), nullptr, nullptr);
  g_source_set_can_recurse(wakeUps, TRUE);  // a dialog's own loop serves it as well
  g_source_attach(wakeUps, nullptr);
  g_source_unref(wakeUps);
}

/// Shows a copy at work. It closes by itself when everything has arrived.
class CopyWindow final : private OVFileOperationDelegate {
 public:
  CopyWindow() {
    gtk_window_set_title(window_, "Copying");
    gtk_window_set_default_size(window_, 420, -1);
    gtk_progress_bar_set_show_text(bar_, TRUE);
    gtk_label_set_wrap(message_, TRUE);
    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    for (GtkWidget* widget : {GTK_WIDGET(bar_), GTK_WIDGET(message_), cancel_}) {
      gtk_box_append(GTK_BOX(column), widget);
    }
    gtk_window_set_child(window_, column);
    gtk_window_set_focus(window_, cancel_);
    g_signal_connect_swapped(cancel_, "clicked", G_CALLBACK(gtk_window_destroy), window_);
    g_signal_connect_swapped(window_, "destroy", G_CALLBACK(forget), this);
    gtk_window_present(window_);
  }

  /// Begins. The progress arrives while the main loop runs.
  void copy(const Ref<NSString>& from, const Ref<NSString>& to) {
    copy_ = OVFileOperation::init();
    copy_->setDelegate(this);
    const OSStatus status = copy_->beginCopyFromPath_toPath_options(from, to, 0);
    if (status != noErr) {
      fileOperationDidFinish_error(copy_, status);
    }
  }

  bool hasArrived() const { return hasArrived_; }

 private:
  void fileOperationStatusChanged(const Ref<OVFileOperation>& copy) override {
    const double total = static_cast<double>(copy->totalBytes());
    const double done = static_cast<double>(copy->bytesComplete());
    gtk_progress_bar_set_fraction(bar_, total > 0 ? done / total : 0);
    gtk_label_set_text(message_, copy->currentFile()->displayUTF8().c_str());
  }

  void fileOperationDidFinish_error(const Ref<OVFileOperation>&, OSStatus error) override {
    hasArrived_ = error == noErr;
    if (hasArrived_) {
      gtk_window_destroy(window_);
      return;
    }
    gtk_label_set_text(message_,
                       OVMakeStandardMacErrorString("The copy", error)->displayUTF8().c_str());
    gtk_window_set_title(window_, "Not copied");
    gtk_button_set_label(GTK_BUTTON(cancel_), "Close");
  }

  /// The window is gone. A copy that is let go of stops, and leaves nothing half-copied.
  static void forget(CopyWindow* self) {
    self->copy_->setDelegate(nullptr);
    self->copy_ = nullptr;
  }

  GtkWindow* window_ = GTK_WINDOW(gtk_window_new());
  GtkProgressBar* bar_ = GTK_PROGRESS_BAR(gtk_progress_bar_new());
  GtkLabel* message_ = GTK_LABEL(gtk_label_new(nullptr));
  GtkWidget* cancel_ = gtk_button_new_with_label("Cancel");
  Ref<OVFileOperation> copy_;
  bool hasArrived_ = false;
};

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: copy-in-gtk FROM TO\n";
    return 2;
  }
  gtk_init();
  hostRunLoop();
  CopyWindow window;
  window.copy(NSString::stringWithFileSystemRepresentation(argv[1]),
              NSString::stringWithFileSystemRepresentation(argv[2]));
  while (g_list_model_get_n_items(gtk_window_get_toplevels()) > 0) {
    g_main_context_iteration(nullptr, TRUE);
  }
  return window.hasArrived() ? 0 : 1;
}
