// NyJson from and to text against rapidjson's own Document::Parse and Writer, and the stable
// (key-sorted) conversion against the plain one, on three generated documents of common shapes.
#include <benchmark/benchmark.h>

#include "BenchSupport.h"

// First: it fixes rapidjson's configuration before the peer's headers come in.
#include <nybase/documents/JsonHelpers.h>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <random>
#include <string>
#include <vector>

namespace {

namespace jh = lu::JsonHelpers;
using TextWriter = rapidjson::Writer<rapidjson::StringBuffer>;

std::mt19937 g_rng(5);
double Uniform(double lo, double hi) { return lo + (hi - lo) * (g_rng() / 4294967296.0); }
std::string Words(size_t count) {
  static const char* words[] = {"sound", "design", "take", "marker", "caf\xc3\xa9", "\"quoted\"", "line\nbreak", "of"};
  std::string s;
  for (size_t i = 0; i < count; ++i) s += std::string(i ? " " : "") + words[g_rng() % 8];
  return s;
}

// Map coordinates: one large array of float pairs, about 6 MB.
std::string Coordinates() {
  rapidjson::StringBuffer b;
  TextWriter w(b);
  w.StartObject();
  w.Key("type");
  w.String("LineString");
  w.Key("coordinates");
  w.StartArray();
  for (int i = 0; i < 160000; ++i) {
    w.StartArray();
    w.Double(Uniform(-180, 180));
    w.Double(Uniform(-90, 90));
    w.EndArray();
  }
  w.EndArray();
  w.EndObject();
  return b.GetString();
}

// A catalogue: one large object of records keyed by id, about 6 MB.
std::string Catalogue() {
  rapidjson::StringBuffer b;
  TextWriter w(b);
  w.StartObject();
  for (int i = 0; i < 25000; ++i) {
    w.Key(("item_" + std::to_string(i)).c_str());
    w.StartObject();
    w.Key("id");
    w.Int(i);
    w.Key("name");
    w.String(Words(3).c_str());
    w.Key("price");
    w.Double(int(Uniform(0, 100000)) / 100.0);
    w.Key("stock");
    w.Uint64(g_rng());
    w.Key("active");
    w.Bool(g_rng() % 2);
    w.Key("guid");
    w.String("{0A1B2C3D-4E5F-6A7B-8C9D-0E1F2A3B4C5D}");
    w.Key("tags");
    w.StartArray();
    for (unsigned t = g_rng() % 5; t > 0; --t) w.String(Words(1).c_str());
    w.EndArray();
    w.Key("description");
    w.String(Words(20).c_str());
    w.EndObject();
  }
  w.EndObject();
  return b.GetString();
}

// A social feed: posts with long texts and nested reply threads, about 6 MB.
void Post(TextWriter& w, int depth) {
  w.StartObject();
  w.Key("user");
  w.StartObject();
  w.Key("name");
  w.String(Words(2).c_str());
  w.Key("bio");
  w.String(Words(30).c_str());
  w.Key("followers");
  w.Uint(g_rng() % 100000);
  w.EndObject();
  w.Key("text");
  w.String(Words(60).c_str());
  w.Key("likes");
  w.Int(int(g_rng() % 5000));
  w.Key("replies");
  w.StartArray();
  if (depth < 8) {
    for (unsigned r = g_rng() % 3; r > 0; --r) Post(w, depth + 1);
  }
  w.EndArray();
  w.EndObject();
}
std::string Feed() {
  rapidjson::StringBuffer b;
  TextWriter w(b);
  w.StartArray();
  while (b.GetSize() < 6000000) Post(w, 0);
  w.EndArray();
  return b.GetString();
}

std::vector<std::string> g_docs;
const char* const k_names[] = {"coordinates", "catalogue", "feed"};

NyJson ParseTree(const std::string& text) {
  jh::Document doc;
  NyError* error = nullptr;
  jh::ReadStream(text.data(), unsigned(text.size()), doc, error);
  delete error;
  NyJson tree;
  jh::FromRapidJson(doc, tree);
  return tree;
}

// Text to NyJson (ReadStream and FromRapidJson) against Document::Parse. Only the building is
// timed on both sides: the tree and the document are freed outside the clock.
void BM_Parse(benchmark::State& state) {
  const std::string& text = g_docs[state.range(0)];
  nybench::PairTimer t;
  for (auto _ : state) {
    NyJson tree;
    const double ours = nybench::PairTimer::Time([&] { tree = ParseTree(text); });
    benchmark::DoNotOptimize(tree.GetType());
    t.ours += ours;
    rapidjson::Document doc;
    t.peer += nybench::PairTimer::Time([&] { doc.Parse(text.c_str()); });
    benchmark::DoNotOptimize(doc.IsNull());
    state.SetIterationTime(ours);
  }
  t.Report(state, text.size() / 1e6, "MB/s");
  state.SetLabel(k_names[state.range(0)]);
}

// NyJson to compact text against Writer over a parsed Document.
void BM_Write(benchmark::State& state) {
  const std::string& text = g_docs[state.range(0)];
  const NyJson tree = ParseTree(text);
  rapidjson::Document doc;
  doc.Parse(text.c_str());
  nybench::PairTimer t;
  for (auto _ : state) {
    const double ours = nybench::PairTimer::Time([&] { benchmark::DoNotOptimize(jh::ToString(tree)); });
    t.ours += ours;
    t.peer += nybench::PairTimer::Time([&] {
      rapidjson::StringBuffer b;
      TextWriter w(b);
      doc.Accept(w);
      benchmark::DoNotOptimize(b.GetString());
    });
    state.SetIterationTime(ours);
  }
  t.Report(state, text.size() / 1e6, "MB/s");
  state.SetLabel(k_names[state.range(0)]);
}

// The stable form (ToStableRapidJson, then text) against the plain one: the ratio is its cost.
void BM_Stable(benchmark::State& state) {
  const NyJson tree = ParseTree(g_docs[state.range(0)]);
  nybench::PairTimer t;
  for (auto _ : state) {
    const double ours = nybench::PairTimer::Time([&] {
      jh::Document doc;
      jh::ToStableRapidJson(tree, doc);
      benchmark::DoNotOptimize(jh::ToString(doc));
    });
    t.ours += ours;
    t.peer += nybench::PairTimer::Time([&] { benchmark::DoNotOptimize(jh::ToString(tree)); });
    state.SetIterationTime(ours);
  }
  t.Report(state, g_docs[state.range(0)].size() / 1e6, "MB/s");
  state.SetLabel(k_names[state.range(0)]);
}

BENCHMARK(BM_Parse)->DenseRange(0, 2)->UseManualTime()->Unit(benchmark::kMillisecond)->Repetitions(3)->MinTime(0.5);
BENCHMARK(BM_Write)->DenseRange(0, 2)->UseManualTime()->Unit(benchmark::kMillisecond)->Repetitions(3)->MinTime(0.5);
BENCHMARK(BM_Stable)->DenseRange(0, 2)->UseManualTime()->Unit(benchmark::kMillisecond)->Repetitions(3)->MinTime(0.5);

}  // namespace

int main(int argc, char** argv) {
  g_docs = {Coordinates(), Catalogue(), Feed()};
  for (int i = 0; i < 3; ++i) std::printf("%s: %.1f MB\n", k_names[i], g_docs[i].size() / 1e6);
  nybench::InitializeInterleaved(argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
