// The same document written by XmlTextWriterLite against libxml2's xmlTextWriter and by
// lu::JsonTextWriter against rapidjson's PrettyWriter, to memory and to a file.
#include <benchmark/benchmark.h>

#include "BenchSupport.h"

#include <libxml/xmlwriter.h>
#include <rapidjson/filewritestream.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include <nybase/documents/JsonTextWriter.h>
#include <nybase/documents/XmlTextWriterLite.h>

namespace {

// One element's values, held as the application holds them (UTF-16) and, for the peers, already
// in UTF-8 (their conversion is not timed).
struct Item {
  CStdStr<wchar_t> id, name, text;
  std::string id8, name8, text8;
};
std::vector<Item> g_items;
std::string g_dir;

void MakeItems(size_t count) {
  static const char* texts[] = {"plain text of a marker", "a < b & c > d", "caf\xc3\xa9 \"quoted\" take",
                                "line one\nline two"};
  for (size_t i = 0; i < count; ++i) {
    Item it;
    it.id8 = std::to_string(i);
    it.name8 = "Object_" + std::to_string(i * 7) + (i % 3 ? "" : " & co");
    it.text8 = texts[i % 4];
    it.id = CStdStr<wchar_t>(it.id8);
    it.name = CStdStr<wchar_t>(it.name8);
    it.text = CStdStr<wchar_t>(it.text8);
    g_items.push_back(std::move(it));
  }
}

void WriteXml(lu::IXmlWriter& w) {
  w.WriteStartDocument();
  w.WriteStartElement("items");
  for (const Item& it : g_items) {
    w.WriteStartElement("item");
    w.WriteAttributeString("id", it.id);
    w.WriteAttributeString("name", it.name);
    w.WriteString(it.text);
    w.WriteEndElement();
  }
  w.WriteEndElement();
  w.WriteEndDocument();
}

void WriteLibxml2(xmlTextWriterPtr w) {
  xmlTextWriterSetIndent(w, 1);
  xmlTextWriterSetIndentString(w, BAD_CAST "\t");
  xmlTextWriterStartDocument(w, nullptr, "utf-8", nullptr);
  xmlTextWriterStartElement(w, BAD_CAST "items");
  for (const Item& it : g_items) {
    xmlTextWriterStartElement(w, BAD_CAST "item");
    xmlTextWriterWriteAttribute(w, BAD_CAST "id", BAD_CAST it.id8.c_str());
    xmlTextWriterWriteAttribute(w, BAD_CAST "name", BAD_CAST it.name8.c_str());
    xmlTextWriterWriteString(w, BAD_CAST it.text8.c_str());
    xmlTextWriterEndElement(w);
  }
  xmlTextWriterEndElement(w);
  xmlTextWriterEndDocument(w);
}

void WriteJson(lu::IXmlWriter& w) {
  w.WriteStartDocument();
  w.BeginArrayElement(L"items");
  for (const Item& it : g_items) {
    w.WriteStartElement("item");
    w.WriteAttributeString("id", it.id);
    w.WriteAttributeString("name", it.name);
    w.WriteAttributeString("text", it.text);
    w.WriteEndElement();
  }
  w.EndArrayElement();
  w.WriteEndDocument();
}

template <typename Writer>
void WriteRapidjson(Writer& w) {
  w.SetIndent(' ', 1);
  w.StartObject();
  w.Key("items");
  w.StartArray();
  for (const Item& it : g_items) {
    w.StartObject();
    w.Key("id");
    w.String(it.id8.data(), static_cast<rapidjson::SizeType>(it.id8.size()));
    w.Key("name");
    w.String(it.name8.data(), static_cast<rapidjson::SizeType>(it.name8.size()));
    w.Key("text");
    w.String(it.text8.data(), static_cast<rapidjson::SizeType>(it.text8.size()));
    w.EndObject();
  }
  w.EndArray();
  w.EndObject();
}

std::map<std::string, double> g_megabytes;  // document size per benchmark

void Bytes(benchmark::State& state, size_t size, const char* name) {
  g_megabytes[name] = static_cast<double>(size) / 1e6;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
  state.counters["MB"] = static_cast<double>(size) / 1e6;
}

void BM_XmlLiteMemory(benchmark::State& state) {
  size_t size = 0;
  for (auto _ : state) {
    XmlTextWriterLite w;
    WriteXml(w);
    size = w.BufferedSize();
    benchmark::DoNotOptimize(w.BufferStart());
  }
  Bytes(state, size, "BM_XmlLiteMemory");
}

void BM_Libxml2Memory(benchmark::State& state) {
  size_t size = 0;
  for (auto _ : state) {
    xmlBufferPtr buffer = xmlBufferCreate();
    xmlTextWriterPtr w = xmlNewTextWriterMemory(buffer, 0);
    WriteLibxml2(w);
    xmlFreeTextWriter(w);
    size = static_cast<size_t>(xmlBufferLength(buffer));
    xmlBufferFree(buffer);
  }
  Bytes(state, size, "BM_Libxml2Memory");
}

void BM_XmlLiteFile(benchmark::State& state) {
  const std::string path = g_dir + "/lite.xml";
  for (auto _ : state) {
    XmlTextWriterLite w(lu::Path(CStdStr<wchar_t>(path.c_str())));
    WriteXml(w);
  }
  FILE* f = std::fopen(path.c_str(), "rb");
  std::fseek(f, 0, SEEK_END);
  Bytes(state, static_cast<size_t>(std::ftell(f)), "BM_XmlLiteFile");
  std::fclose(f);
}

void BM_Libxml2File(benchmark::State& state) {
  const std::string path = g_dir + "/libxml2.xml";
  for (auto _ : state) {
    xmlTextWriterPtr w = xmlNewTextWriterFilename(path.c_str(), 0);
    WriteLibxml2(w);
    xmlFreeTextWriter(w);
  }
  FILE* f = std::fopen(path.c_str(), "rb");
  std::fseek(f, 0, SEEK_END);
  Bytes(state, static_cast<size_t>(std::ftell(f)), "BM_Libxml2File");
  std::fclose(f);
}

void BM_JsonMemory(benchmark::State& state) {
  size_t size = 0;
  for (auto _ : state) {
    lu::JsonTextWriter w;
    WriteJson(w);
    size = w.BufferedSize();
    benchmark::DoNotOptimize(w.BufferStart());
  }
  Bytes(state, size, "BM_JsonMemory");
}

void BM_RapidjsonMemory(benchmark::State& state) {
  size_t size = 0;
  for (auto _ : state) {
    rapidjson::StringBuffer buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> w(buffer);
    WriteRapidjson(w);
    size = buffer.GetSize();
    benchmark::DoNotOptimize(buffer.GetString());
  }
  Bytes(state, size, "BM_RapidjsonMemory");
}

void BM_JsonFile(benchmark::State& state) {
  const std::string path = g_dir + "/lite.json";
  for (auto _ : state) {
    lu::JsonTextWriter w(lu::Path(CStdStr<wchar_t>(path.c_str())));
    WriteJson(w);
  }
  FILE* f = std::fopen(path.c_str(), "rb");
  std::fseek(f, 0, SEEK_END);
  Bytes(state, static_cast<size_t>(std::ftell(f)), "BM_JsonFile");
  std::fclose(f);
}

void BM_RapidjsonFile(benchmark::State& state) {
  const std::string path = g_dir + "/rapidjson.json";
  static char buffer[65536];
  for (auto _ : state) {
    FILE* f = std::fopen(path.c_str(), "wb");
    rapidjson::FileWriteStream stream(f, buffer, sizeof buffer);
    rapidjson::PrettyWriter<rapidjson::FileWriteStream> w(stream);
    WriteRapidjson(w);
    stream.Flush();
    std::fclose(f);
  }
  FILE* f = std::fopen(path.c_str(), "rb");
  std::fseek(f, 0, SEEK_END);
  Bytes(state, static_cast<size_t>(std::ftell(f)), "BM_RapidjsonFile");
  std::fclose(f);
}

}  // namespace

BENCHMARK(BM_XmlLiteMemory)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.3);
BENCHMARK(BM_Libxml2Memory)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.3);
BENCHMARK(BM_XmlLiteFile)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.3);
BENCHMARK(BM_Libxml2File)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.3);
BENCHMARK(BM_JsonMemory)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.3);
BENCHMARK(BM_RapidjsonMemory)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.3);
BENCHMARK(BM_JsonFile)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.3);
BENCHMARK(BM_RapidjsonFile)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.3);

int main(int argc, char** argv) {
  nybench::InitializeInterleaved(argc, argv);
  // Elements per document: NYBASE_WRITER_BENCH_ELEMENTS, 200000 by default (modest for a shared
  // machine; one million is the full-size run).
  const char* env = std::getenv("NYBASE_WRITER_BENCH_ELEMENTS");
  MakeItems(env ? std::strtoul(env, nullptr, 10) : 200000);
  char dir[] = "/tmp/nybase-writers-XXXXXX";
  if (!mkdtemp(dir)) return 1;
  g_dir = dir;

  nybench::BestTimeReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("%zu elements, best of repetitions (CPU time)\n", g_items.size());
  for (const auto& [name, seconds] : reporter.bestCpu) {
    const std::string function = name.substr(0, name.find('/'));
    std::printf("%-20s %7.2f MB  %8.1f MB/s\n", function.c_str(), g_megabytes[function], g_megabytes[function] / seconds);
  }
  const char* pairs[][3] = {
      {"BM_Libxml2Memory", "BM_XmlLiteMemory", "3.0"}, {"BM_Libxml2File", "BM_XmlLiteFile", "3.0"},
      {"BM_RapidjsonMemory", "BM_JsonMemory", "1.0"}, {"BM_RapidjsonFile", "BM_JsonFile", "1.0"}};
  for (const auto& p : pairs) {
    if (!reporter.bestCpu.count(p[0]) || !reporter.bestCpu.count(p[1])) continue;
    std::printf("speed-up %s over %s: CPU time %.2fx, wall time %.2fx (target >= %s)\n", p[1], p[0],
                reporter.bestCpu[p[0]] / reporter.bestCpu[p[1]], reporter.bestReal[p[0]] / reporter.bestReal[p[1]], p[2]);
  }
  for (const char* name : {"lite.xml", "libxml2.xml", "lite.json", "rapidjson.json"}) std::remove((g_dir + "/" + name).c_str());
  ::rmdir(dir);
  benchmark::Shutdown();
  return 0;
}
