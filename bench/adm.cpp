// Parsing a 1 MiB axml document (thousands of block formats) into NyADM against a raw
// xmlTextReader walk over the same bytes, and the heap the parsed model keeps.
#include <benchmark/benchmark.h>

#include "BenchSupport.h"

#include <libxml/xmlreader.h>
#include <malloc.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nybase/audio/NyADM.h>

namespace {

std::string g_doc;
size_t g_blocks = 0;

std::string Id(const char* prefix, unsigned int n, int digits) {
  char text[32];
  std::snprintf(text, sizeof(text), "%s%0*u", prefix, digits, n);
  return text;
}

// Moving objects as a renderer's export has them: per object a pack, a channel format with a
// block every 100 ms, a stream and track format and a track UID, until the text reaches 1 MiB.
std::string MakeDocument() {
  std::string body;
  std::string contentRefs;
  unsigned int o = 0;
  while (body.size() < (1u << 20) - 4096) {
    ++o;
    const std::string n = Id("", 0x1000 + o, 4);
    const std::string uid = Id("ATU_", o, 8);
    contentRefs += "      <audioObjectIDRef>" + Id("AO_", 0x1000 + o, 4) + "</audioObjectIDRef>\n";
    body += "    <audioObject audioObjectID=\"" + Id("AO_", 0x1000 + o, 4) + "\" audioObjectName=\"Object " +
            std::to_string(o) + "\" start=\"00:00:00.00000\">\n      <audioPackFormatIDRef>AP_0003" + n +
            "</audioPackFormatIDRef>\n      <audioTrackUIDRef>" + uid + "</audioTrackUIDRef>\n    </audioObject>\n";
    body += "    <audioPackFormat audioPackFormatID=\"AP_0003" + n + "\" audioPackFormatName=\"Object " +
            std::to_string(o) + "\" typeLabel=\"0003\" typeDefinition=\"Objects\">\n      <audioChannelFormatIDRef>AC_0003" +
            n + "</audioChannelFormatIDRef>\n    </audioPackFormat>\n";
    body += "    <audioChannelFormat audioChannelFormatID=\"AC_0003" + n + "\" audioChannelFormatName=\"Object " +
            std::to_string(o) + "\" typeLabel=\"0003\" typeDefinition=\"Objects\">\n";
    for (unsigned int b = 1; b <= 64; ++b, ++g_blocks) {
      char block[512];
      std::snprintf(block, sizeof(block),
                    "      <audioBlockFormat audioBlockFormatID=\"AB_0003%s_%08u\" rtime=\"00:00:%02u.%05u\" "
                    "duration=\"00:00:00.10000\">\n"
                    "        <position coordinate=\"azimuth\">%.4f</position>\n"
                    "        <position coordinate=\"elevation\">%.4f</position>\n"
                    "        <position coordinate=\"distance\">1.0</position>\n"
                    "        <gain>1.0</gain>\n"
                    "        <jumpPosition interpolationLength=\"0.05\">1</jumpPosition>\n"
                    "      </audioBlockFormat>\n",
                    n.c_str(), b, (b / 10) % 60, (b % 10) * 10000, -180.0 + b * 5.5, (b % 7) * 3.0);
      body += block;
    }
    body += "    </audioChannelFormat>\n";
    body += "    <audioStreamFormat audioStreamFormatID=\"AS_0003" + n + "\" audioStreamFormatName=\"PCM_Object\" "
            "formatLabel=\"0001\" formatDefinition=\"PCM\">\n      <audioChannelFormatIDRef>AC_0003" + n +
            "</audioChannelFormatIDRef>\n      <audioTrackFormatIDRef>AT_0003" + n +
            "_01</audioTrackFormatIDRef>\n    </audioStreamFormat>\n";
    body += "    <audioTrackFormat audioTrackFormatID=\"AT_0003" + n + "_01\" audioTrackFormatName=\"PCM_Object\" "
            "formatLabel=\"0001\" formatDefinition=\"PCM\">\n      <audioStreamFormatIDRef>AS_0003" + n +
            "</audioStreamFormatIDRef>\n    </audioTrackFormat>\n";
    body += "    <audioTrackUID UID=\"" + uid + "\" sampleRate=\"48000\" bitDepth=\"24\">\n      <audioTrackFormatIDRef>AT_0003" +
            n + "_01</audioTrackFormatIDRef>\n      <audioPackFormatIDRef>AP_0003" + n +
            "</audioPackFormatIDRef>\n    </audioTrackUID>\n";
  }
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ebuCoreMain xmlns=\"urn:ebu:metadata-schema:ebuCore_2015\">\n"
         " <coreMetadata>\n  <format>\n   <audioFormatExtended>\n"
         "    <audioProgramme audioProgrammeID=\"APR_1001\" audioProgrammeName=\"Main\">\n"
         "      <audioContentIDRef>ACO_1001</audioContentIDRef>\n    </audioProgramme>\n"
         "    <audioContent audioContentID=\"ACO_1001\" audioContentName=\"Scene\">\n" +
         contentRefs + "    </audioContent>\n" + body +
         "   </audioFormatExtended>\n  </format>\n </coreMetadata>\n</ebuCoreMain>\n";
}

void BM_RawTextReader(benchmark::State& state) {
  for (auto _ : state) {
    xmlTextReaderPtr r = xmlReaderForMemory(g_doc.c_str(), static_cast<int>(g_doc.size()), "", nullptr, 0);
    int64_t types = 0;
    while (xmlTextReaderRead(r) == 1) types += xmlTextReaderNodeType(r);
    xmlFreeTextReader(r);
    benchmark::DoNotOptimize(types);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_doc.size()));
}

void BM_NyADMFromAXML(benchmark::State& state) {
  for (auto _ : state) {
    NyADM adm;
    if (!adm.FromAXML(g_doc.c_str())) state.SkipWithError("the document did not parse");
    benchmark::DoNotOptimize(adm.GetChannelFormats().data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_doc.size()));
}

}  // namespace

BENCHMARK(BM_RawTextReader)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.5);
BENCHMARK(BM_NyADMFromAXML)->Unit(benchmark::kMillisecond)->Repetitions(5)->MinTime(0.5);

int main(int argc, char** argv) {
  nybench::InitializeInterleaved(argc, argv);
  g_doc = MakeDocument();

  // Heap kept by the parsed model once the parse (and its copy of the text) is over.
  size_t kept = 0;
  {
    const size_t before = mallinfo2().uordblks;
    auto adm = std::make_unique<NyADM>();
    if (!adm->FromAXML(g_doc.c_str())) {
      std::fprintf(stderr, "the benchmark document did not parse\n");
      return 1;
    }
    kept = mallinfo2().uordblks - before;
  }

  nybench::BestTimeReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("document %.2f MiB, %zu block formats; the parsed NyADM keeps %.0f KiB of heap (%.2f of the text)\n",
              static_cast<double>(g_doc.size()) / (1u << 20), g_blocks, static_cast<double>(kept) / 1024,
              static_cast<double>(kept) / static_cast<double>(g_doc.size()));
  const char* lu = "BM_NyADMFromAXML";
  const char* raw = "BM_RawTextReader";
  if (reporter.bestCpu.count(lu) && reporter.bestCpu.count(raw)) {
    std::printf("ratio %s / %s: CPU time %.3f, wall time %.3f (target <= 1.5), best of repetitions\n", lu, raw,
                reporter.bestCpu[lu] / reporter.bestCpu[raw], reporter.bestReal[lu] / reporter.bestReal[raw]);
  }
  benchmark::Shutdown();
  return 0;
}
