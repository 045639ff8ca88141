// NY::NyChannelOrdering: how a file's channels are laid out relative to the order a caller reads.
#pragma once

namespace NY {

enum NyChannelOrdering : int {
  ChannelOrdering_Native = 0,    // no change of order (unless the file carries ADM metadata)
  ChannelOrdering_Pipeline = 1,  // L C R SL SR BL BR LFE TFL TFR TBL TBR -> ascending mask bits
  ChannelOrdering_FuMa = 2,      // Furse-Malham order and weights -> ACN order
};

}  // namespace NY
