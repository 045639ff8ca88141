// Walking a 1 MiB document node by node through lu::XmlReader against a raw xmlTextReader loop
// over the same bytes.
#include <benchmark/benchmark.h>

#include "BenchSupport.h"

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

}  // namespace

BENCHMARK(BM_RawTextReader)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.5);
BENCHMARK(BM_LuXmlReader)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.5);
BENCHMARK(BM_RawTextReaderNames)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.5);
BENCHMARK(BM_LuXmlReaderNames)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.5);

int main(int argc, char** argv) {
  nybench::InitializeInterleaved(argc, argv);
  g_doc = MakeDocument();

  nybench::BestTimeReporter reporter;
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
