// ThinJson against raw rapidjson: walking every value through the views, parsing, and validation
// of a large document against a schema that refers to another one.
#include <cstdio>
#include <string>

#include <nybase/documents/ThinJsonSchema.h>
#include <rapidjson/document.h>

#include "BenchSupport.h"

namespace {

using namespace lu::ThinJson;

// The three shapes: a float array, an object of records, and deep nesting (64 levels a branch).
std::string FloatArray(size_t count) {
  std::string s = "[";
  for (size_t i = 0; i < count; ++i) s += (i ? "," : "") + std::to_string(static_cast<double>(i) * 0.731 - 1e5);
  return s + "]";
}
std::string Records(size_t count) {
  std::string s = "[";
  for (size_t i = 0; i < count; ++i) {
    s += (i ? "," : "");
    s += R"({"id":)" + std::to_string(i) + R"(,"name":"take )" + std::to_string(i) + R"(","gain":)" +
         std::to_string(static_cast<double>(i % 97) / 7.0) + R"(,"muted":)" + (i % 3 ? "false" : "true") +
         R"(,"markers":[)" + std::to_string(i * 3) + "," + std::to_string(i * 3 + 1) + R"(],"notes":null})";
  }
  return s + "]";
}
std::string Deep(size_t branches) {
  std::string s = "[";
  for (size_t b = 0; b < branches; ++b) {
    s += (b ? "," : "");
    for (int d = 0; d < 64; ++d) s += (d % 2) ? R"({"k":)" : "[";
    s += std::to_string(b);
    for (int d = 63; d >= 0; --d) s += (d % 2) ? "}" : "]";
  }
  return s + "]";
}

// Both walks read the same tree, so that only the access path differs, not where the values lie.
struct Input {
  std::string text;
  Document doc;
};
Input g_inputs[3];

// The same recursive walk twice: through the views and through rapidjson's values. Neither may be
// inlined into its benchmark loop: the compiler inlines one level of one and not the other by
// whim, which showed as a 2x difference on the float array with identical walk code.
[[gnu::noinline]] double WalkViews(Variant v) {
  switch (v.GetType()) {
    case Variant::Type::Array: {
      double sum = 0;
      for (const Variant& e : v.GetArray()) sum += WalkViews(e);
      return sum;
    }
    case Variant::Type::Map: {
      double sum = 0;
      for (const MapItem& m : v.GetMap()) sum += static_cast<double>(m.GetKey().size()) + WalkViews(m.GetValue());
      return sum;
    }
    case Variant::Type::Number:
      return v.GetDouble();
    case Variant::Type::String:
      return static_cast<double>(v.GetString().size());
    default:
      return v.GetBool() ? 1 : 0;
  }
}
[[gnu::noinline]] double WalkRaw(const rapidjson::Value& v) {
  switch (v.GetType()) {
    case rapidjson::kArrayType: {
      double sum = 0;
      for (const rapidjson::Value& e : v.GetArray()) sum += WalkRaw(e);
      return sum;
    }
    case rapidjson::kObjectType: {
      double sum = 0;
      for (const auto& m : v.GetObject()) sum += static_cast<double>(m.name.GetStringLength()) + WalkRaw(m.value);
      return sum;
    }
    case rapidjson::kNumberType:
      return v.GetDouble();
    case rapidjson::kStringType:
      return static_cast<double>(v.GetStringLength());
    default:
      return v.IsTrue() ? 1 : 0;
  }
}

void BM_ViewWalk(benchmark::State& state) {
  const Input& in = g_inputs[state.range(0)];
  for (auto _ : state) benchmark::DoNotOptimize(WalkViews(in.doc.GetRoot()));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in.text.size()));
}
void BM_RawWalk(benchmark::State& state) {
  const Input& in = g_inputs[state.range(0)];
  for (auto _ : state) benchmark::DoNotOptimize(WalkRaw(in.doc.GetRapidJson()));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in.text.size()));
}
void BM_DocumentParse(benchmark::State& state) {
  const Input& in = g_inputs[state.range(0)];
  for (auto _ : state) {
    auto r = priv::ParseNoComments(in.text);
    benchmark::DoNotOptimize(r.HasValue());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in.text.size()));
}
void BM_RawParse(benchmark::State& state) {
  const Input& in = g_inputs[state.range(0)];
  for (auto _ : state) {
    rapidjson::Document d;
    d.Parse(in.text.data(), in.text.size());
    benchmark::DoNotOptimize(d.HasParseError());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in.text.size()));
}

// Validation of the records document (about 10 MB) against a schema whose items are defined in a
// second schema, reached through the resolver.
std::string g_validateText;
void BM_ValidateWithReferences(benchmark::State& state) {
  const std::string& text = g_validateText;
  static const Document doc = std::move(priv::ParseNoComments(text)).Value();
  static const Document defs = std::move(priv::ParseNoComments(
      R"({"definitions":{"record":{"type":"object","required":["id","name"],"properties":{"id":{"type":"integer","minimum":0},)"
      R"("name":{"type":"string","maxLength":64},"gain":{"type":"number"},"muted":{"type":"boolean"},)"
      R"("markers":{"type":"array","items":{"type":"integer"}}}}}})")).Value();
  static const Document top = std::move(priv::ParseNoComments(R"({"type":"array","items":{"$ref":"defs.json#/definitions/record"}})")).Value();
  static const Schema defsSchema(defs, std::nullopt);
  static const Schema schema(top, [](const CStdStr<char>&) { return &defsSchema; });
  for (auto _ : state) {
    rapidjson::GenericSchemaValidator<RapidJsonSchemaDocument> validator(schema.GetRapidJson());
    const bool valid = doc.GetRapidJson().Accept(validator);
    if (!valid) state.SkipWithError("document not valid");
    benchmark::DoNotOptimize(valid);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

}  // namespace

BENCHMARK(BM_ViewWalk)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.3);
BENCHMARK(BM_RawWalk)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.3);
BENCHMARK(BM_DocumentParse)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.3);
BENCHMARK(BM_RawParse)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.3);
BENCHMARK(BM_ValidateWithReferences)->Unit(benchmark::kMillisecond)->Repetitions(3)->MinTime(0.3);

int main(int argc, char** argv) {
  nybench::InitializeInterleaved(argc, argv);
  const std::string texts[3] = {FloatArray(250000), Records(40000), Deep(8000)};
  g_validateText = Records(95000);
  const char* names[3] = {"float array", "object of records", "deep nesting"};
  for (int i = 0; i < 3; ++i) {
    g_inputs[i].text = texts[i];
    g_inputs[i].doc = std::move(priv::ParseNoComments(texts[i])).Value();
    std::printf("input %d: %s, %.2f MiB\n", i, names[i], static_cast<double>(texts[i].size()) / (1u << 20));
  }

  nybench::BestTimeReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("best of repetitions (CPU time); ratios are raw / ThinJson, so 1.0 is parity and higher is faster\n");
  for (int i = 0; i < 3; ++i) {
    const std::string arg = "/" + std::to_string(i);
    auto ratio = [&](const char* ours, const char* raw) {
      const std::string a = ours + arg, b = raw + arg;
      return reporter.bestCpu.count(a) && reporter.bestCpu.count(b) ? reporter.bestCpu[b] / reporter.bestCpu[a] : 0.0;
    };
    std::printf("%-18s walk speed %.3f (target >= 0.95), parse speed %.3f (target >= 0.98)\n", names[i],
                ratio("BM_ViewWalk", "BM_RawWalk"), ratio("BM_DocumentParse", "BM_RawParse"));
  }
  if (reporter.bestCpu.count("BM_ValidateWithReferences")) {
    std::printf("validation with references: %.1f ms for the %.2f MiB records document (%.0f MiB/s)\n",
                reporter.bestCpu["BM_ValidateWithReferences"] * 1e3, static_cast<double>(g_validateText.size()) / (1u << 20),
                static_cast<double>(g_validateText.size()) / (1u << 20) / reporter.bestCpu["BM_ValidateWithReferences"]);
  }
  benchmark::Shutdown();
  return 0;
}
