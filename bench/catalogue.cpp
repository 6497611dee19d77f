// Measures finding and replacing a record in catalogues of different sizes.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "base/uuid.h"
#include "catalogue/item_catalogue.h"
#include "catalogue/record_keys.h"

namespace revwarden::bench {
namespace {

struct Filled {
  explicit Filled(int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
      const std::string name = "Application " + std::to_string(i);
      items.push_back({{kKQRWIDKey, stringWithUUID()},
                       {kKQRWApplicationPathKey, "/Applications/" + name + ".app"},
                       {kKQRWApplicationNameKey, name},
                       {kKQRWBundleIdKey, "org.example." + std::to_string(i)},
                       {kKQRWCurrentVersionKey, "1.0"}});
      catalogue.appendItem(items.back());
    }
    // The benchmarks look up these hundred records in turn.
    std::mt19937 random(1);
    for (int i = 0; i < 100; ++i) asked.push_back(items[random() % items.size()]);
    for (const Dictionary& item : asked) ids.push_back(*item.stringFor(kKQRWIDKey));
  }
  ItemCatalogue catalogue;
  std::vector<Dictionary> items;
  std::vector<Dictionary> asked;
  std::vector<std::string> ids;
};

void ItemSnapshotWithID(benchmark::State& state) {
  const Filled filled(state.range(0));
  size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(filled.catalogue.itemSnapshotWithID(filled.ids[next++ % 100]));
  }
}

void UpdateItem(benchmark::State& state) {
  Filled filled(state.range(0));
  size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(filled.catalogue.updateItem(filled.asked[next++ % 100]));
  }
}

BENCHMARK(ItemSnapshotWithID)->RangeMultiplier(10)->Range(100, 100000);
BENCHMARK(UpdateItem)->RangeMultiplier(10)->Range(100, 100000);

}  // namespace
}  // namespace revwarden::bench

BENCHMARK_MAIN();
