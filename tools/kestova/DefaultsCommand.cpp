// SPDX-License-Identifier: Apache-2.0
#include "DefaultsCommand.h"

#include "ArgumentValue.h"
#include "Counted.h"
#include "DefaultsValue.h"
#include "DefaultsWatcher.h"
#include "FileFailure.h"
#include "HelpFormatter.h"
#include "InputFile.h"
#include "InterruptSignal.h"
#include "OutputFile.h"
#include "TransferText.h"

#include <KestovaFoundation/Additions/NSUserDefaultsAdditions.h>
#include <KestovaFoundation/OVUserDefaults.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>
#include <KestovaPlatform/NSRunLoop.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace kestova::tool {
namespace {

Ref<OVUserDefaults> defaults() { return OVUserDefaults::standardUserDefaults(); }

void printLine(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

/// The log has said why.
void checkWritten(const Ref<NSString>& domain) {
  if (!defaults()->synchronize()) {
    throw FileFailure(displayText(domain->displayUTF8()), "could not be written");
  }
}

/// Tells all programs of a change that has been written.
void announce(const Ref<NSString>& domain) {
  NSDistributedNotificationCenter::defaultCenter()->postNotificationName_object_userInfo(
      NSUserDefaultsSuiteDidChangeNotification, domain,
      NSDictionary::of({{"bundleIdentifierOfSender", NSBundle::mainBundle()->bundleIdentifier()}}));
}

/// One of the commands of `defaults`: what fails is told, and ends it with status 1.
class DefaultsCommand : public Command {
 public:
  explicit DefaultsCommand(CLI::App* arguments) : Command(arguments) {}

  int run() final {
    try {
      return act();
    } catch (const FileFailure& failure) {
      printFailure(failure.what());
      return kFailed;
    }
  }

 protected:
  virtual int act() = 0;
};

/// One of those that work on one domain.
class DomainCommand : public DefaultsCommand {
 public:
  explicit DomainCommand(CLI::App* arguments) : DefaultsCommand(arguments) {
    arguments->add_option("DOMAIN", domain_, "A program's bundle identifier, or NSGlobalDomain")
        ->required();
  }

 protected:
  Ref<NSString> domain() const { return textIn(domain_); }

  /// All of the domain. Throws FileFailure where there is none.
  Ref<NSDictionary> contents() const {
    auto contents = defaults()->persistentDomainForName(domain());
    if (!contents) {
      throw FileFailure(displayText(domain_), "there is no such domain");
    }
    return contents;
  }

  id valueOf(const std::string& key) const {
    const auto contents = defaults()->persistentDomainForName(domain());
    const id value = contents ? contents->objectForKey(textIn(key)) : nullptr;
    if (!value) {
      throw FileFailure(displayText(domain_) + " " + displayText(key), "there is no such value");
    }
    return value;
  }

 private:
  std::string domain_;
};

class DomainsCommand final : public DefaultsCommand {
 public:
  using DefaultsCommand::DefaultsCommand;

 private:
  int act() override {
    for (const id& name : defaults()->persistentDomainNames()) {
      printLine(displayText(cast<NSString>(name)->displayUTF8()));
    }
    return kSucceeded;
  }
};

/// One of those that work on all of a domain or on one of its keys. An empty key is one, too: a
/// script whose variable is empty must not lose a domain by it.
class KeyCommand : public DomainCommand {
 public:
  KeyCommand(CLI::App* arguments, const char* meaning)
      : DomainCommand(arguments), option_(arguments->add_option("KEY", key_, meaning)) {}

 protected:
  bool hasKey() const { return option_->count() > 0; }
  const std::string& key() const { return key_; }

 private:
  std::string key_;
  CLI::Option* option_;
};

class ReadCommand final : public KeyCommand {
 public:
  explicit ReadCommand(CLI::App* arguments)
      : KeyCommand(arguments, "One key, whose bare value is printed") {}

 private:
  int act() override {
    printLine(textOfValue(hasKey() ? valueOf(key()) : id(contents())));
    return kSucceeded;
  }
};

class WriteCommand final : public DefaultsCommand {
 public:
  explicit WriteCommand(CLI::App* arguments) : DefaultsCommand(arguments), arguments_(arguments) {
    setWords(*arguments, "DOMAIN KEY VALUE");
    arguments->footer(
        "VALUE is a text, or one of\n"
        "  -string TEXT    -int N    -float N    -bool true|false|yes|no|1|0\n"
        "  -date 2001-01-31T12:00:00Z    -data HEX    -array TEXT...    -dict KEY TEXT...\n"
        "All programs that have the domain as a suite are told.");
  }

 private:
  int act() override {
    const std::vector<std::string> words = arguments_->remaining();
    if (words.size() < 3) {
      printFailure("write takes a domain, a key and a value");
      return kUsedWrongly;
    }
    try {
      write(textIn(words[0]), textIn(words[1]), valueOfWords(std::span(words).subspan(2)));
    } catch (const CLI::ValidationError& error) {
      printFailure(error.what());
      return kUsedWrongly;
    }
    return kSucceeded;
  }

  static void write(const Ref<NSString>& domain, const Ref<NSString>& key, const id& value) {
    setObject_forKey_inPersistentDomain(defaults(), value, key, domain);
    checkWritten(domain);
    announce(domain);
  }

  CLI::App* arguments_;
};

class DeleteCommand final : public KeyCommand {
 public:
  explicit DeleteCommand(CLI::App* arguments)
      : KeyCommand(arguments, "One key; without it the whole domain") {}

 private:
  int act() override {
    if (hasKey()) {
      static_cast<void>(valueOf(key()));
      removeObjectForKey_inPersistentDomain(defaults(), textIn(key()), domain());
    } else {
      static_cast<void>(contents());
      defaults()->removePersistentDomainForName(domain());
    }
    checkWritten(domain());
    announce(domain());
    return kSucceeded;
  }
};

class ExportCommand final : public DomainCommand {
 public:
  explicit ExportCommand(CLI::App* arguments) : DomainCommand(arguments) {
    arguments->add_option("FILE", file_, "Where to; standard output for - and without it");
  }

 private:
  int act() override {
    Ref<NSString> problem;
    const auto data = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
        contents(), NSPropertyListXMLFormat_v1_0, &problem);
    if (!data) {
      throw FileFailure(displayText(file_), problem->displayUTF8());
    }
    OutputFile output(file_);
    output.write(data->span());
    output.commit();
    return kSucceeded;
  }

  std::string file_ = "-";
};

class ImportCommand final : public DomainCommand {
 public:
  explicit ImportCommand(CLI::App* arguments) : DomainCommand(arguments) {
    arguments->add_option("FILE", file_, "A property list; standard input for - and without it");
  }

 private:
  int act() override {
    defaults()->setPersistentDomain_forName(dictionaryInFile(), domain());
    checkWritten(domain());
    announce(domain());
    return kSucceeded;
  }

  Ref<NSDictionary> dictionaryInFile() const {
    InputFile input(file_);
    const auto bytes = NSMutableData::data();
    input.forEachPiece([&](std::span<const std::byte> piece) {
      bytes->appendBytes_length(piece.data(), piece.size());
    });
    Ref<NSString> problem = "There is no dictionary at its top.";
    const auto list =
        NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
            bytes, NSPropertyListImmutable, nullptr, &problem);
    auto dictionary = cast<NSDictionary>(list);
    if (!dictionary) {
      throw FileFailure(input.displayName(), problem->displayUTF8());
    }
    return dictionary;
  }

  std::string file_ = "-";
};

class WatchDefaultsCommand final : public DefaultsCommand {
 public:
  explicit WatchDefaultsCommand(CLI::App* arguments) : DefaultsCommand(arguments) {
    arguments->add_option("DOMAIN", domains_, "Bundle identifiers of programs")->required();
    arguments->footer(
        "Prints \"DOMAIN KEY: OLD -> NEW (SENDER)\" for each key that changes. What a program\n"
        "removes without announcing it shows with the next change. Ctrl-C ends it.");
  }

 private:
  static constexpr double kForever = 1e10;

  int act() override {
    bool isInterrupted = false;
    const InterruptSignal interrupt([&] { isInterrupted = true; });
    const auto watcher = make<DefaultsWatcher>(Ref<NSUserDefaults>(defaults()));
    for (const std::string& domain : domains_) {
      watcher->watch(textIn(domain));
    }
    printLine("watching " + counted(domains_.size(), "domain"));
    while (!isInterrupted) {
      CFRunLoopRunInMode(kCFRunLoopDefaultMode, kForever, true);
    }
    return kInterrupted;
  }

  std::vector<std::string> domains_;
};

template <class T>
void add(CLI::App* app, Commands& commands, const char* name, const char* description) {
  commands.push_back(std::make_unique<T>(app->add_subcommand(name, description)));
}

}  // namespace

void addDefaultsCommand(CLI::App& app, Commands& commands) {
  CLI::App* group = app.add_subcommand("defaults", "Read, change and watch programs' preferences");
  group->require_subcommand(1);
  add<DomainsCommand>(group, commands, "domains", "List the domains that hold something");
  add<ReadCommand>(group, commands, "read", "Print a value, or a whole domain");
  add<WriteCommand>(group, commands, "write", "Set a value, and tell all programs");
  add<DeleteCommand>(group, commands, "delete", "Remove a value or a whole domain");
  add<WatchDefaultsCommand>(group, commands, "watch", "Print changes as they happen");
  add<ExportCommand>(group, commands, "export", "Write a domain as an XML property list");
  add<ImportCommand>(group, commands, "import", "Replace a domain by a property list");
}

}  // namespace kestova::tool
