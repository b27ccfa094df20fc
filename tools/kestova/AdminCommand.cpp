// SPDX-License-Identifier: Apache-2.0
#include "AdminCommand.h"

#include "EachArgument.h"
#include "FileFailure.h"
#include "ItemPath.h"
#include "TerminalAgent.h"
#include "TransferText.h"

#include <KestovaFoundation/Additions/NSFileManagerAuthorizationAdditions.h>

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace kestova::tool {
namespace {

namespace fs = std::filesystem;

/// What keeps the rights from the person, beside the statuses that all commands have.
enum AdminExitStatus : int {
  kDenied = 3,
  kDismissed = 4,
  kNobodyToAsk = 5,
};

constexpr AuthorizationFlags kAskingThePerson =
    kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights;

using Words = std::vector<std::string>;

constexpr NSTimeInterval kAsLongAsItTakes = std::numeric_limits<double>::infinity();

Ref<NSFileManager> files() { return NSFileManager::defaultManager(); }

Ref<NSString> textOf(const std::string& path) {
  return NSString::stringWithFileSystemRepresentation(path);
}

/// Whether there is something, also a link that leads nowhere. What can't be seen without an
/// administrator's rights counts as missing or not as the caller says.
bool isThere(const std::string& path, bool whenHidden) {
  struct stat facts {};
  return ::lstat(path.c_str(), &facts) == 0 || (errno != ENOENT && errno != ENOTDIR && whenHidden);
}

bool isHidden(const std::string& path) { return isThere(path, true) && !isThere(path, false); }

bool isFolder(const std::string& path) {
  std::error_code ignored;
  return fs::is_directory(path, ignored);
}

/// Why no tool can be started.
std::string reasonOf(OSStatus status) {
  switch (status) {
    case errAuthorizationDenied:
      return "an administrator's rights were denied";
    case errAuthorizationCanceled:
      return "the question for a password was dismissed";
    case errAuthorizationInteractionNotAllowed:
      return "nobody can be asked for a password: polkit has no agent on this desktop or terminal";
    case errAuthorizationInternal:
      return "polkit does not answer, or its policy org.kestova.foundation.administer is not "
             "installed";
    case errAuthorizationToolExecuteFailure:
      return "the program that does it could not be run as root; is pkexec installed?";
    default:
      return "the program that does it could not be started (status " + std::to_string(status) +
             ")";
  }
}

int exitStatusOf(OSStatus status) {
  switch (status) {
    case errAuthorizationSuccess:
      return kSucceeded;
    case errAuthorizationDenied:
      return kDenied;
    case errAuthorizationCanceled:
      return kDismissed;
    case errAuthorizationInteractionNotAllowed:
    case errAuthorizationInternal:
      return kNobodyToAsk;
    default:
      return kFailed;
  }
}

/// What ends the command: without the rights no other path has a chance.
class WithoutRights {
 public:
  explicit WithoutRights(OSStatus status) : status_(status) {}
  OSStatus status() const { return status_; }

 private:
  OSStatus status_;
};

/// An administrator's rights while it lives. Tools that it starts are waited for.
class AdminRights {
 public:
  /// Asks the person where that is needed: on the terminal when no desktop does it. Throws
  /// WithoutRights.
  AdminRights() {
    OSStatus status = obtainAuthorization_flags(files(), &authorization_, kAskingThePerson);
    if (status == errAuthorizationInteractionNotAllowed) {
      agent_.emplace();
      status = obtainAuthorization_flags(files(), &authorization_, kAskingThePerson);
    }
    if (status != errAuthorizationSuccess) {
      throw WithoutRights(status);
    }
  }
  ~AdminRights() { freeAuthorization(files(), authorization_); }
  AdminRights(const AdminRights&) = delete;
  AdminRights& operator=(const AdminRights&) = delete;

  const AuthorizationRef& authorization() const { return authorization_; }

  /// Waits for the tool that `start` starts. Throws WithoutRights when it was not started, and
  /// FileFailure when it fails; it has told why by itself.
  template <class Start>
  void run(const std::string& path, Start start) const {
    if (!succeeds(start)) {
      throw FileFailure(displayText(path), "not done");
    }
  }
  void run(const std::string& path, const char* tool, const Words& words) const {
    run(path, [&] { return start(tool, words); });
  }

  /// Whether there is something, also a link that leads nowhere, as an administrator sees it.
  bool find(const std::string& path) const {
    constexpr const char* kTest = "/usr/bin/test";
    return isHidden(path) ? succeeds([&] {
                              return start(kTest, {"-e", path});
                            }) ||
                                succeeds([&] {
                                  return start(kTest, {"-L", path});
                                })
                          : isThere(path, false);
  }

 private:
  OSStatus start(const char* tool, const Words& words) const {
    std::vector<const char*> arguments;
    for (const std::string& word : words) {
      arguments.push_back(word.c_str());
    }
    arguments.push_back(nullptr);
    return AuthorizationExecuteWithPrivileges(authorization_, tool, kAuthorizationFlagDefaults,
                                              arguments.data());
  }

  template <class Start>
  bool succeeds(Start start) const {
    const std::size_t failedBefore = AuthorizationWaitForTools(kAsLongAsItTakes).failed;
    const OSStatus status = start();
    if (status != errAuthorizationSuccess) {
      throw WithoutRights(status);
    }
    return AuthorizationWaitForTools(kAsLongAsItTakes).failed == failedBefore;
  }

  std::optional<TerminalAgent> agent_;
  AuthorizationRef authorization_;
};

/// One of the commands below "admin".
class AdminCommand : public Command {
 public:
  int run() final {
    try {
      const AdminRights rights;
      return runWith(rights);
    } catch (const WithoutRights& failure) {
      printFailure(reasonOf(failure.status()));
      return exitStatusOf(failure.status());
    }
  }

 protected:
  using Command::Command;

  /// Puts in front of what the help of all of them says.
  static void explain(CLI::App& arguments, const std::string& text) {
    arguments.footer(text + '\n' + arguments.get_footer());
  }

  virtual int runWith(const AdminRights& rights) = 0;
};

class MakeFoldersCommand final : public AdminCommand {
 public:
  explicit MakeFoldersCommand(CLI::App* arguments) : AdminCommand(arguments) {
    arguments->add_option("PATH", paths_, "Folders")->required();
  }

 private:
  int runWith(const AdminRights& rights) override {
    return forEachArgument(paths_, [&](const std::string& path) {
      rights.run(path, "/bin/mkdir", {"-p", "--", path});
    });
  }

  std::vector<std::string> paths_;
};

class RemoveCommand final : public AdminCommand {
 public:
  explicit RemoveCommand(CLI::App* arguments) : AdminCommand(arguments) {
    arguments->add_option("PATH", paths_, "Files and folders")->required();
    explain(*arguments, "Folders go with all that is beneath them, symbolic links by themselves.");
  }

 private:
  int runWith(const AdminRights& rights) override {
    return forEachArgument(paths_, [&](const std::string& path) {
      if (!isThere(path, true)) {
        throw FileFailure(displayText(path), ENOENT);
      }
      rights.run(path, [&] {
        return removeFileAtPath_removeDirectories_recursive_withAuthorization(
            files(), textOf(path), true, true, rights.authorization());
      });
    });
  }

  std::vector<std::string> paths_;
};

std::string targetFor(const std::string& source, const std::string& destination) {
  return isFolder(destination) ? (fs::path(destination) / nameOf(source)).string() : destination;
}

class MoveCommand final : public AdminCommand {
 public:
  explicit MoveCommand(CLI::App* arguments) : AdminCommand(arguments) {
    arguments->add_option("PATH", paths_, "What to take, and last where to put it")
        ->required()
        ->expected(2, -1)
        ->option_text("SRC... DEST");
    arguments->add_flag("--overwrite", overwrites_, "Replace a file that is there");
    explain(*arguments, "Into DEST under the source's name where DEST is a folder, else as DEST.");
  }

 private:
  int runWith(const AdminRights& rights) override {
    const std::vector<std::string> sources(paths_.begin(), paths_.end() - 1);
    const std::string& destination = paths_.back();
    if (sources.size() > 1 && !isFolder(destination)) {
      printFailure(FileFailure(displayText(destination), ENOTDIR).what());
      return kFailed;
    }
    return forEachArgument(sources, [&](const std::string& source) {
      move(rights, withoutTrailingSlashes(source), targetFor(source, destination));
    });
  }

  void move(const AdminRights& rights, const std::string& source, const std::string& target) const {
    if (!isThere(source, true)) {
      throw FileFailure(displayText(source), ENOENT);
    }
    if (target.empty()) {
      throw FileFailure(target, ENOENT);
    }
    if (!overwrites_ && isThere(target, false)) {
      throw FileFailure(displayText(target), EEXIST);
    }
    if (isFolder(target)) {
      throw FileFailure(displayText(target), EISDIR);  // it would be moved into that
    }
    if (overwrites_) {
      rights.run(source, [&] {
        return movePath_toPath_replace_withAuthorization(files(), textOf(source), textOf(target),
                                                         true, rights.authorization());
      });
    } else {
      moveToFreeName(rights, source, target);
    }
  }

  /// What is where the person can't look, or comes at the last moment, is not replaced either. The
  /// tool then leaves the source where it is, which some of its versions do not tell.
  static void moveToFreeName(const AdminRights& rights, const std::string& source,
                             const std::string& target) {
    rights.run(source, "/bin/mv", {"-n", "--", source, target});
    if (rights.find(source)) {
      throw FileFailure(displayText(target), EEXIST);
    }
  }

  std::vector<std::string> paths_;
  bool overwrites_ = false;
};

}  // namespace

void addAdminCommand(CLI::App& app, Commands& commands) {
  CLI::App* const admin =
      app.add_subcommand("admin", "Change files with an administrator's rights");
  admin->require_subcommand(1);
  admin->footer(
      "polkit decides, and may have the desktop or the terminal ask for a password. The command\n"
      "ends when what it started has ended, which tells of its failures by itself.\n"
      "Exit status: 0 success, 1 failure, 2 wrong use, 3 denied, 4 the question was dismissed,\n"
      "5 nobody to ask: no agent, no polkit or no policy.");
  commands.push_back(std::make_unique<MakeFoldersCommand>(
      admin->add_subcommand("mkdir", "Make folders, and those that lead to them")));
  commands.push_back(std::make_unique<MoveCommand>(
      admin->add_subcommand("move", "Move files and folders, also to another volume")));
  commands.push_back(
      std::make_unique<RemoveCommand>(admin->add_subcommand("remove", "Remove files and folders")));
}

}  // namespace kestova::tool
