// SPDX-License-Identifier: Apache-2.0
// Settings of 1,000 keys on the disk, beside QSettings and GSettings with its keyfile backend: one
// key or all of them changed and made durable, and looked up.
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSUserDefaults.h>

#include <benchmark/benchmark.h>
#include <QSettings>
#include <QString>

#define G_SETTINGS_ENABLE_BACKEND
#include <gio/gio.h>
#include <gio/gsettingsbackend.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace kestova;

constexpr int kKeys = 1000;

std::string keyAt(int index) { return "some-key-" + std::to_string(index); }
std::string valueAt(int index, int turn) {
  return "value " + std::to_string(index) + " " + std::to_string(turn);
}

/// A folder of the run's own under TMPDIR, found by the process's own environment too.
class Place {
 public:
  Place() {
    path_ = (std::filesystem::temp_directory_path() / "kestova-bench-XXXXXX").string();
    if (mkdtemp(path_.data()) == nullptr) {
      std::abort();
    }
    ::setenv("XDG_CONFIG_HOME", path_.c_str(), 1);
  }
  ~Place() { std::filesystem::remove_all(path_); }

  std::string at(const char* name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

const Place& place() {
  static const Place place;
  return place;
}

/// Three suites, registered defaults, and the application's own 1,000 keys.
Ref<NSUserDefaults> here() {
  static const auto defaults = [] {
    static_cast<void>(place());
    auto made = NSUserDefaults::init();
    const auto registered = NSMutableDictionary::dictionary();
    for (int index = 0; index < kKeys; ++index) {
      registered->setObject_forKey("registered", keyAt(index));
      made->setObject_forKey(valueAt(index, 0), keyAt(index));
    }
    made->registerDefaults(registered);
    for (const char* suite : {"org.example.A", "org.example.B", "org.example.C"}) {
      made->setPersistentDomain_forName(registered, suite);
      made->addSuiteNamed(suite);
    }
    made->synchronize();
    return made;
  }();
  return defaults;
}

QSettings& qt() {
  static auto& settings = *[] {
    auto* made = new QSettings(QString::fromStdString(place().at("qt.ini")), QSettings::IniFormat);
    for (int index = 0; index < kKeys; ++index) {
      made->setValue(QString::fromStdString(keyAt(index)),
                     QString::fromStdString(valueAt(index, 0)));
    }
    made->sync();
    return made;
  }();
  return settings;
}

void writeSchema(const std::string& folder) {
  std::filesystem::create_directory(folder);
  std::ofstream schema(folder + "/org.example.bench.gschema.xml");
  schema << "<schemalist><schema id='org.example.bench' path='/org/example/bench/'>";
  for (int index = 0; index < kKeys; ++index) {
    schema << "<key name='" << keyAt(index) << "' type='s'><default>''</default></key>";
  }
  schema << "</schema></schemalist>";
}

GSettings* glib() {
  static GSettings* const settings = [] {
    const std::string folder = place().at("schemas");
    writeSchema(folder);
    if (std::system(("glib-compile-schemas " + folder).c_str()) != 0) {
      std::abort();
    }
    GSettingsSchemaSource* source =
        g_settings_schema_source_new_from_directory(folder.c_str(), nullptr, FALSE, nullptr);
    GSettingsSchema* schema = g_settings_schema_source_lookup(source, "org.example.bench", FALSE);
    GSettingsBackend* backend =
        g_keyfile_settings_backend_new(place().at("glib.ini").c_str(), "/", nullptr);
    GSettings* made = g_settings_new_full(schema, backend, nullptr);
    for (int index = 0; index < kKeys; ++index) {
      g_settings_set_string(made, keyAt(index).c_str(), valueAt(index, 0).c_str());
    }
    g_settings_sync();
    return made;
  }();
  return settings;
}

/// Changes one key after the other, and makes each change durable.
template <class Change>
void changeOne(benchmark::State& state, const Change& change) {
  int turn = 0;
  for (auto _ : state) {
    ++turn;
    change(keyAt(turn * 37 % kKeys), valueAt(turn, turn));
  }
  state.SetItemsProcessed(state.iterations());
}

void SetHere(benchmark::State& state) {
  const auto defaults = here();
  changeOne(state, [&](const std::string& key, const std::string& value) {
    defaults->setObject_forKey(value, key);
    if (!defaults->synchronize()) {
      state.SkipWithError("not written");
    }
  });
}

void SetQSettings(benchmark::State& state) {
  QSettings& settings = qt();
  changeOne(state, [&](const std::string& key, const std::string& value) {
    settings.setValue(QString::fromStdString(key), QString::fromStdString(value));
    settings.sync();
  });
}

void SetGSettings(benchmark::State& state) {
  GSettings* settings = glib();
  changeOne(state, [&](const std::string& key, const std::string& value) {
    g_settings_set_string(settings, key.c_str(), value.c_str());
    g_settings_sync();
  });
}

/// The keys in the form that each library takes, made beforehand.
template <class Key>
std::vector<Key> keys() {
  std::vector<Key> made;
  for (int index = 0; index < kKeys; ++index) {
    made.emplace_back(keyAt(index).c_str());
  }
  return made;
}

/// The same of values, two for each key, so that every turn changes every one.
template <class Text>
std::vector<Text> values() {
  std::vector<Text> made;
  for (int index = 0; index < 2 * kKeys; ++index) {
    made.emplace_back(valueAt(index, index).c_str());
  }
  return made;
}

/// Changes all keys, and makes that durable at once.
template <class Text, class Change, class Flush>
void changeAll(benchmark::State& state, const Change& change, const Flush& flush) {
  const auto names = keys<Text>();
  const auto texts = values<Text>();
  std::size_t turn = 0;
  for (auto _ : state) {
    ++turn;
    for (std::size_t index = 0; index < kKeys; ++index) {
      change(names[index], texts[2 * index + turn % 2]);
    }
    flush();
  }
}

void SetAllHere(benchmark::State& state) {
  const auto defaults = here();
  changeAll<Ref<NSString>>(
      state, [&](const auto& key, const auto& value) { defaults->setObject_forKey(value, key); },
      [&] { defaults->synchronize(); });
}

void SetAllQSettings(benchmark::State& state) {
  QSettings& settings = qt();
  changeAll<QString>(
      state, [&](const auto& key, const auto& value) { settings.setValue(key, value); },
      [&] { settings.sync(); });
}

void GetHere(benchmark::State& state) {
  const auto defaults = here();
  const auto names = keys<Ref<NSString>>();
  std::size_t index = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(defaults->objectForKey(names[index = (index + 37) % kKeys]).get());
  }
}

void GetQSettings(benchmark::State& state) {
  const QSettings& settings = qt();
  const auto names = keys<QString>();
  std::size_t index = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(settings.value(names[index = (index + 37) % kKeys]));
  }
}

void GetGSettings(benchmark::State& state) {
  GSettings* settings = glib();
  const auto names = keys<std::string>();
  std::size_t index = 0;
  for (auto _ : state) {
    g_free(g_settings_get_string(settings, names[index = (index + 37) % kKeys].c_str()));
  }
}

BENCHMARK(SetHere)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(SetQSettings)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(SetGSettings)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(SetAllHere)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(SetAllQSettings)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(GetHere);
BENCHMARK(GetQSettings);
BENCHMARK(GetGSettings);

}  // namespace

BENCHMARK_MAIN();
