// An SVG plot of a spectrum: level in dB over frequency on a logarithmic axis.
#include "SpectrumPlot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace nybase::tool {
namespace {

constexpr double k_width = 960, k_height = 540;
constexpr double k_left = 80, k_right = 30, k_top = 50, k_bottom = 60;
constexpr double k_floorDb = -100;

std::string Escape(const std::string& text) {
  std::string s;
  for (char c : text) {
    switch (c) {
      case '<': s += "&lt;"; break;
      case '>': s += "&gt;"; break;
      case '&': s += "&amp;"; break;
      case '"': s += "&quot;"; break;
      default: s.push_back(c);
    }
  }
  return s;
}

std::string Num(double v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.1f", v);
  return buf;
}

std::string HzLabel(double hz) {
  char buf[32];
  if (hz >= 1000) std::snprintf(buf, sizeof buf, "%gk", hz / 1000);
  else std::snprintf(buf, sizeof buf, "%g", hz);
  return buf;
}

}  // namespace

std::string SpectrumSvg(const std::vector<float>& db, unsigned sampleRate, const std::string& title,
                        double peakHz) {
  const double bins = static_cast<double>(db.size());
  const double binHz = bins > 0 ? sampleRate / (2 * bins) : 1;
  const double fMin = std::max(binHz, 1.0);
  const double fMax = std::max(sampleRate / 2.0, fMin * 10);
  const double plotW = k_width - k_left - k_right, plotH = k_height - k_top - k_bottom;
  auto x = [&](double hz) { return k_left + plotW * std::log10(hz / fMin) / std::log10(fMax / fMin); };
  auto y = [&](double level) {
    const double l = std::isfinite(level) ? std::clamp(level, k_floorDb, 0.0) : k_floorDb;
    return k_top + plotH * (l / k_floorDb);
  };

  std::string s;
  s += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  s += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + Num(k_width) + "\" height=\"" +
       Num(k_height) + "\" viewBox=\"0 0 " + Num(k_width) + " " + Num(k_height) +
       "\" font-family=\"sans-serif\" font-size=\"12\">\n";
  s += "<title>Spectrum of " + Escape(title) + "</title>\n";
  s += "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
  s += "<text x=\"" + Num(k_width / 2) + "\" y=\"28\" text-anchor=\"middle\" font-size=\"16\">Spectrum of " +
       Escape(title) + "</text>\n";

  // Grid and tick labels: 1, 2 and 5 of every decade; every 12 dB.
  s += "<g stroke=\"#ddd\" stroke-width=\"1\">\n";
  std::string labels;
  for (double decade = std::pow(10, std::floor(std::log10(fMin))); decade <= fMax; decade *= 10) {
    for (double m : {1.0, 2.0, 5.0}) {
      const double hz = decade * m;
      if (hz < fMin || hz > fMax) continue;
      s += "<line x1=\"" + Num(x(hz)) + "\" y1=\"" + Num(k_top) + "\" x2=\"" + Num(x(hz)) + "\" y2=\"" +
           Num(k_top + plotH) + "\"/>\n";
      labels += "<text x=\"" + Num(x(hz)) + "\" y=\"" + Num(k_top + plotH + 18) +
                "\" text-anchor=\"middle\">" + HzLabel(hz) + "</text>\n";
    }
  }
  for (double level = 0; level >= k_floorDb; level -= 12) {
    s += "<line x1=\"" + Num(k_left) + "\" y1=\"" + Num(y(level)) + "\" x2=\"" + Num(k_left + plotW) +
         "\" y2=\"" + Num(y(level)) + "\"/>\n";
    labels += "<text x=\"" + Num(k_left - 8) + "\" y=\"" + Num(y(level) + 4) + "\" text-anchor=\"end\">" +
              Num(level).substr(0, Num(level).find('.')) + "</text>\n";
  }
  s += "</g>\n" + labels;
  s += "<rect x=\"" + Num(k_left) + "\" y=\"" + Num(k_top) + "\" width=\"" + Num(plotW) + "\" height=\"" +
       Num(plotH) + "\" fill=\"none\" stroke=\"black\"/>\n";
  s += "<text x=\"" + Num(k_left + plotW / 2) + "\" y=\"" + Num(k_height - 15) +
       "\" text-anchor=\"middle\">Frequency (Hz, logarithmic)</text>\n";
  s += "<text transform=\"translate(22 " + Num(k_top + plotH / 2) +
       ") rotate(-90)\" text-anchor=\"middle\">Level (dB, peak = 0)</text>\n";

  // The curve: every bin above 0 Hz.
  s += "<polyline fill=\"none\" stroke=\"#1f5fbf\" stroke-width=\"1.2\" points=\"";
  for (size_t k = 1; k < db.size(); ++k) {
    const double hz = k * binHz;
    if (hz < fMin) continue;
    s += Num(x(hz)) + "," + Num(y(db[k])) + " ";
  }
  s += "\"/>\n";

  if (peakHz >= fMin && peakHz <= fMax) {
    s += "<line x1=\"" + Num(x(peakHz)) + "\" y1=\"" + Num(k_top) + "\" x2=\"" + Num(x(peakHz)) +
         "\" y2=\"" + Num(k_top + plotH) + "\" stroke=\"#c03030\" stroke-dasharray=\"4 3\"/>\n";
    char peak[64];
    std::snprintf(peak, sizeof peak, "peak %.1f Hz", peakHz);
    s += "<text x=\"" + Num(x(peakHz) + 6) + "\" y=\"" + Num(k_top + 16) + "\" fill=\"#c03030\">" + peak +
         "</text>\n";
  }
  s += "</svg>\n";
  return s;
}

}  // namespace nybase::tool
