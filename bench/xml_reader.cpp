// Walking a 1 MiB document node by node through lu::XmlReader against a raw xmlTextReader loop
// over the same bytes.
#include <benchmark/benchmark.h>

#include <libxml/xmlreader.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nybase/documents/XmlReader.h>

namespace {

std::string g_doc;

// A deterministic document of about 1 MiB mixing what real documents hold: nested elements with
// attributes, text, entity and character references, CDATA, comments and indentation.
std::string MakeDocument() {
  std::string doc = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<project version=\"3\">\n";
  for (int i = 0; doc.size() < (1u << 20) - 512; ++i) {
    doc += "  <object id=\"" + std::to_string(i) + "\" name=\"Object_" + std::to_string(i * 7) +
           "\" type=\"Sound\">\n";
    doc += "    <property name=\"Volume\" value=\"" + std::to_string(i % 97) + ".5\"/>\n";
    doc += "    <property name=\"Pitch\"><value>" + std::to_string(i % 13) + "</value></property>\n";
    doc += "    <notes>Take " + std::to_string(i) + " &amp; mix &#x00E9;t\xC3\xA9</notes>\n";
    if (i % 4 == 0) doc += "    <!-- reviewed -->\n    <script><![CDATA[if (a < b) play();]]></script>\n";
    doc += "  </object>\n";
  }
  return doc + "</project>\n";
}

void NoDelete(const char*) {}

void BM_RawTextReader(benchmark::State& state) {
  for (auto _ : state) {
    xmlTextReaderPtr r = xmlReaderForMemory(g_doc.c_str(), static_cast<int>(g_doc.size()), "", nullptr, 0);
    int64_t nodes = 0;
    int64_t types = 0;
    while (xmlTextReaderRead(r) == 1) {
      types += xmlTextReaderNodeType(r);
      ++nodes;
    }
    xmlFreeTextReader(r);
    benchmark::DoNotOptimize(types);
    state.counters["nodes"] = static_cast<double>(nodes);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_doc.size()));
}

void BM_LuXmlReader(benchmark::State& state) {
  for (auto _ : state) {
    // The reader takes the same bytes in place (its deleter leaves them alone).
    lu::XmlReader r(std::unique_ptr<const char, void (*)(const char*)>(g_doc.c_str(), &NoDelete));
    int64_t nodes = 0;
    int64_t types = 0;
    while (r.Read()) {
      types += static_cast<int>(r.GetNodeType());
      ++nodes;
    }
    benchmark::DoNotOptimize(types);
    state.counters["nodes"] = static_cast<double>(nodes);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_doc.size()));
}

// The same walks, also taking every node's name and value as a caller does.
void BM_RawTextReaderNames(benchmark::State& state) {
  for (auto _ : state) {
    xmlTextReaderPtr r = xmlReaderForMemory(g_doc.c_str(), static_cast<int>(g_doc.size()), "", nullptr, 0);
    size_t chars = 0;
    while (xmlTextReaderRead(r) == 1) {
      const xmlChar* name = xmlTextReaderConstLocalName(r);
      const xmlChar* value = xmlTextReaderConstValue(r);
      chars += (name ? name[0] : 0) + (value ? value[0] : 0);
    }
    xmlFreeTextReader(r);
    benchmark::DoNotOptimize(chars);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_doc.size()));
}

void BM_LuXmlReaderNames(benchmark::State& state) {
  for (auto _ : state) {
    lu::XmlReader r(std::unique_ptr<const char, void (*)(const char*)>(g_doc.c_str(), &NoDelete));
    size_t chars = 0;
    while (r.Read()) {
      chars += static_cast<unsigned char>(r.GetConstName()[0]) + static_cast<unsigned char>(r.GetConstValue()[0]);
    }
    benchmark::DoNotOptimize(chars);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_doc.size()));
}

// Keeps the fastest wall and CPU time per iteration of each benchmark across its repetitions.
// On a shared machine the CPU time is the steadier of the two.
class BestTimeReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs) {
      if (r.run_type != Run::RT_Iteration || r.iterations == 0 || r.error_occurred) continue;
      const double n = static_cast<double>(r.iterations);
      Keep(bestReal, r.run_name.function_name, r.real_accumulated_time / n);
      Keep(bestCpu, r.run_name.function_name, r.cpu_accumulated_time / n);
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> bestReal;
  std::map<std::string, double> bestCpu;

 private:
  static void Keep(std::map<std::string, double>& best, const std::string& name, double t) {
    auto it = best.find(name);
    if (it == best.end() || t < it->second) best[name] = t;
  }
};

}  // namespace

BENCHMARK(BM_RawTextReader)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.5);
BENCHMARK(BM_LuXmlReader)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.5);
BENCHMARK(BM_RawTextReaderNames)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.5);
BENCHMARK(BM_LuXmlReaderNames)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.5);

int main(int argc, char** argv) {
  // Interleaving the repetitions keeps drift in the machine's speed from favouring either side.
  std::vector<char*> args(argv, argv + argc);
  std::string interleave = "--benchmark_enable_random_interleaving=true";
  args.insert(args.begin() + 1, interleave.data());
  int count = static_cast<int>(args.size());
  benchmark::Initialize(&count, args.data());
  g_doc = MakeDocument();

  BestTimeReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("document %.2f MiB, best of repetitions\n", static_cast<double>(g_doc.size()) / (1u << 20));
  const std::pair<const char*, const char*> pairs[] = {
      {"BM_LuXmlReader", "BM_RawTextReader"},
      {"BM_LuXmlReaderNames", "BM_RawTextReaderNames"},
  };
  for (const auto& [lu, raw] : pairs) {
    if (!reporter.bestCpu.count(lu) || !reporter.bestCpu.count(raw)) continue;
    std::printf("ratio %s / %s: CPU time %.3f, wall time %.3f (target <= 1.2)\n", lu, raw,
                reporter.bestCpu[lu] / reporter.bestCpu[raw], reporter.bestReal[lu] / reporter.bestReal[raw]);
  }
  benchmark::Shutdown();
  return 0;
}
