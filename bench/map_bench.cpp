// CMap with MFC's fixed 17 buckets: insertion and look-up must stay O(1) per operation as the
// map grows from 10 k to 1 M entries.
#include <benchmark/benchmark.h>

#include "quillon/afx.h"

namespace {

void InsertThenLookUp(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  for (auto _ : state) {
    CMap<int, int, void*, void*> map;
    for (int key = 0; key < n; key++) map[key] = &map;
    void* value = nullptr;
    for (int key = 0; key < n; key++) benchmark::DoNotOptimize(map.Lookup(key, value));
  }
  state.SetItemsProcessed(state.iterations() * n * 2);
}

}  // namespace

BENCHMARK(InsertThenLookUp)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
