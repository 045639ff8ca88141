// An SVG plot of a spectrum: level in dB over frequency on a logarithmic axis.
#pragma once

#include <string>
#include <vector>

namespace nybase::tool {

// The SVG document of a plot of `db` (bin k at k x sampleRate / (2 x db.size()) Hz) from the
// first bin above 0 Hz up to half the sample rate, between -100 and 0 dB, with labelled axes,
// grid, the title, and a mark at peakHz. Bins that are not finite or below -100 dB sit on the
// bottom edge.
std::string SpectrumSvg(const std::vector<float>& db, unsigned sampleRate, const std::string& title,
                        double peakHz);

}  // namespace nybase::tool
