// The assignment steps read literally (full rescans, a mark matrix, a path of n x n pairs): the
// reference that the library's FindAssignments must match assignment for assignment.
#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include <nybase/data/Array2D.h>

namespace HungarianReference {

inline void FindAssignments(Array2D<int>& costs, std::vector<int>& assignments) {
  const size_t w = costs.GetWidth();
  if (w != costs.GetHeight()) return;
  const size_t n = w;
  enum : unsigned char { None = 0, Star = 1, Prime = 2 };
  Array2D<unsigned char> marks(n, n, None);
  std::vector<bool> xCover(n, false);
  std::vector<bool> yCover(n, false);
  std::vector<std::pair<size_t, size_t>> path(n * n);

  for (size_t x = 0; x < n; ++x) {  // 1. reduce each x
    int least = 0x7FFFFFFF;
    for (size_t y = 0; y < n; ++y) least = std::min(least, costs(x, y));
    for (size_t y = 0; y < n; ++y) costs(x, y) -= least;
  }
  for (size_t x = 0; x < n; ++x) {  // 2. initial stars
    for (size_t y = 0; y < n; ++y) {
      if (costs(x, y) == 0 && !xCover[x] && !yCover[y]) {
        marks(x, y) = Star;
        xCover[x] = true;
        yCover[y] = true;
      }
    }
  }
  xCover.assign(n, false);
  yCover.assign(n, false);
  for (;;) {
    size_t covered = 0;  // 3. cover
    for (size_t x = 0; x < n; ++x) {
      for (size_t y = 0; y < n; ++y) {
        if (marks(x, y) == Star) yCover[y] = true;
      }
    }
    for (size_t y = 0; y < n; ++y) covered += yCover[y] ? 1 : 0;
    if (covered == n) break;
    size_t px = 0;
    size_t py = 0;
    for (;;) {  // 4. prime, with 6. adjust when no uncovered zero is left
      bool found = false;
      for (size_t x = 0; x < n && !found; ++x) {
        for (size_t y = 0; y < n && !found; ++y) {
          if (costs(x, y) == 0 && !xCover[x] && !yCover[y]) {
            px = x;
            py = y;
            found = true;
          }
        }
      }
      if (!found) {
        int m = 0x7FFFFFFF;
        for (size_t x = 0; x < n; ++x) {
          for (size_t y = 0; y < n; ++y) {
            if (!xCover[x] && !yCover[y]) m = std::min(m, costs(x, y));
          }
        }
        for (size_t x = 0; x < n; ++x) {
          for (size_t y = 0; y < n; ++y) {
            if (xCover[x]) costs(x, y) += m;
            if (!yCover[y]) costs(x, y) -= m;
          }
        }
        continue;
      }
      marks(px, py) = Prime;
      size_t sy = n;
      for (size_t y = 0; y < n; ++y) {
        if (marks(px, y) == Star) {
          sy = y;
          break;
        }
      }
      if (sy == n) break;
      xCover[px] = true;
      yCover[sy] = false;
    }
    size_t count = 1;  // 5. augment
    path[0] = {px, py};
    for (;;) {
      const size_t y = path[count - 1].second;
      size_t sx = n;
      for (size_t x = 0; x < n; ++x) {
        if (marks(x, y) == Star) {
          sx = x;
          break;
        }
      }
      if (sx == n) break;
      path[count++] = {sx, y};
      size_t qy = 0;
      while (marks(sx, qy) != Prime) ++qy;
      path[count++] = {sx, qy};
    }
    for (size_t i = 0; i < count; ++i) {
      unsigned char& mark = marks(path[i].first, path[i].second);
      mark = mark == Star ? None : Star;
    }
    xCover.assign(n, false);
    yCover.assign(n, false);
    for (size_t x = 0; x < n; ++x) {
      for (size_t y = 0; y < n; ++y) {
        if (marks(x, y) == Prime) marks(x, y) = None;
      }
    }
  }
  assignments.resize(n);  // 7. result
  for (size_t x = 0; x < n; ++x) {
    for (size_t y = 0; y < n; ++y) {
      if (marks(x, y) == Star) {
        assignments[x] = static_cast<int>(y);
        break;
      }
    }
  }
}

}  // namespace HungarianReference
