// HungarianAlgorithm: the Munkres steps, with potentials and per-row minima instead of rescans.
#include <nybase/data/HungarianAlgorithm.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

namespace HungarianAlgorithm {

namespace {

// The steps are the textbook ones and make the same choices in the same order; only the
// bookkeeping differs from a literal reading:
// - a cell's current value is cost + rowAdd[x] - colSub[y], so that adjusting (step 6) touches
//   one number per line instead of every cell, and the arithmetic is 64-bit;
// - each uncovered x keeps the least value over the uncovered y, kept up to date as lines are
//   covered and uncovered, so the search for the first uncovered zero only reads the rows that
//   hold one and the least uncovered value comes from n numbers;
// - stars and primes are one index per line (a line holds at most one of each), covers are flags.
class Solver {
 public:
  explicit Solver(const Array2D<int>& costs) : m_n(costs.GetWidth()) {
    // x-major copy: the searches walk along y for a fixed x.
    const std::vector<int>& data = costs.GetData();
    m_cost.resize(m_n * m_n);
    for (size_t y = 0; y < m_n; ++y) {
      for (size_t x = 0; x < m_n; ++x) m_cost[x * m_n + y] = data[y * m_n + x];
    }
    m_rowAdd.assign(m_n, 0);
    m_colSub.assign(m_n, 0);
    m_rowMin.assign(m_n, 0);
    m_rowCovered.assign(m_n, 0);
    m_colCovered.assign(m_n, 0);
    m_starOfRow.assign(m_n, -1);
    m_starOfCol.assign(m_n, -1);
    m_primeOfRow.assign(m_n, -1);
    m_primedRows.reserve(m_n);
    m_path.reserve(2 * m_n + 1);
  }

  void Run() {
    ReduceAndStar();
    for (;;) {
      // Step 3: cover the y of every star.
      size_t covered = 0;
      for (size_t y = 0; y < m_n; ++y) {
        m_colCovered[y] = m_starOfCol[y] >= 0 ? 1 : 0;
        covered += m_colCovered[y];
      }
      if (covered == m_n) return;
      StartPhase();
      size_t px = 0;
      size_t py = 0;
      while (!PrimeUntilAugmentable(px, py)) Adjust();
      Augment(px, py);
    }
  }

  void Write(Array2D<int>& costs, std::vector<int>& assignments) const {
    assignments.resize(m_n);
    for (size_t x = 0; x < m_n; ++x) assignments[x] = static_cast<int>(m_starOfRow[x]);
    std::vector<int>& data = costs.GetData();
    for (size_t x = 0; x < m_n; ++x) {
      for (size_t y = 0; y < m_n; ++y) {
        data[y * m_n + x] = static_cast<int>(static_cast<uint32_t>(Value(x, y)));
      }
    }
  }

 private:
  int64_t Value(size_t x, size_t y) const { return m_cost[x * m_n + y] + m_rowAdd[x] - m_colSub[y]; }

  // Steps 1 and 2: reduce each x by its least cost, then star the earliest zero of each free line.
  void ReduceAndStar() {
    for (size_t x = 0; x < m_n; ++x) {
      int64_t least = std::numeric_limits<int>::max();
      for (size_t y = 0; y < m_n; ++y) least = std::min<int64_t>(least, m_cost[x * m_n + y]);
      m_rowAdd[x] = -least;
    }
    for (size_t x = 0; x < m_n; ++x) {
      for (size_t y = 0; y < m_n; ++y) {
        if (m_starOfCol[y] < 0 && Value(x, y) == 0) {
          Star(x, y);
          break;  // x is now covered
        }
      }
    }
  }

  void Star(size_t x, size_t y) {
    m_starOfRow[x] = static_cast<ptrdiff_t>(y);
    m_starOfCol[y] = static_cast<ptrdiff_t>(x);
  }

  // All x are uncovered at the start of a phase: their least values over the uncovered y.
  void StartPhase() {
    for (size_t x = 0; x < m_n; ++x) {
      m_rowCovered[x] = 0;
      int64_t least = std::numeric_limits<int64_t>::max();
      const int* row = &m_cost[x * m_n];
      for (size_t y = 0; y < m_n; ++y) {
        if (!m_colCovered[y]) least = std::min(least, row[y] - m_colSub[y]);
      }
      m_rowMin[x] = least + m_rowAdd[x];
    }
  }

  // Step 4. True with the prime that starts an augmenting path; false when no uncovered zero is
  // left (step 6 comes next).
  bool PrimeUntilAugmentable(size_t& px, size_t& py) {
    for (;;) {
      // The first uncovered zero, x outer and y inner.
      size_t x = 0;
      while (x < m_n && (m_rowCovered[x] || m_rowMin[x] != 0)) ++x;
      if (x == m_n) return false;
      size_t y = 0;
      while (m_colCovered[y] || Value(x, y) != 0) ++y;  // exists: the row's least value is 0
      m_primeOfRow[x] = static_cast<ptrdiff_t>(y);
      m_primedRows.push_back(x);
      const ptrdiff_t starY = m_starOfRow[x];
      if (starY < 0) {
        px = x;
        py = y;
        return true;
      }
      m_rowCovered[x] = 1;
      const size_t uy = static_cast<size_t>(starY);
      m_colCovered[uy] = 0;
      for (size_t x2 = 0; x2 < m_n; ++x2) {
        if (!m_rowCovered[x2]) m_rowMin[x2] = std::min(m_rowMin[x2], Value(x2, uy));
      }
    }
  }

  // Step 6: the least uncovered value m is added to covered x and taken from uncovered y.
  void Adjust() {
    int64_t m = std::numeric_limits<int64_t>::max();
    for (size_t x = 0; x < m_n; ++x) {
      if (!m_rowCovered[x]) m = std::min(m, m_rowMin[x]);
    }
    for (size_t x = 0; x < m_n; ++x) {
      if (m_rowCovered[x]) {
        m_rowAdd[x] += m;
      } else {
        m_rowMin[x] -= m;
      }
    }
    for (size_t y = 0; y < m_n; ++y) {
      if (!m_colCovered[y]) m_colSub[y] += m;
    }
  }

  // Step 5: alternate star in the prime's y and prime in the star's x; stars on the path go,
  // primes on it become stars; covers and the other primes are cleared.
  void Augment(size_t x, size_t y) {
    m_path.clear();
    m_path.emplace_back(x, y);
    for (;;) {
      const ptrdiff_t sx = m_starOfCol[y];
      if (sx < 0) break;
      x = static_cast<size_t>(sx);
      m_path.emplace_back(x, y);
      y = static_cast<size_t>(m_primeOfRow[x]);
      m_path.emplace_back(x, y);
    }
    for (size_t i = 1; i < m_path.size(); i += 2) {
      m_starOfRow[m_path[i].first] = -1;
      m_starOfCol[m_path[i].second] = -1;
    }
    for (size_t i = 0; i < m_path.size(); i += 2) Star(m_path[i].first, m_path[i].second);
    for (size_t r : m_primedRows) m_primeOfRow[r] = -1;
    m_primedRows.clear();
  }

  size_t m_n;
  std::vector<int> m_cost;  // x-major: (x, y) at x * n + y
  std::vector<int64_t> m_rowAdd;
  std::vector<int64_t> m_colSub;
  std::vector<int64_t> m_rowMin;
  std::vector<uint8_t> m_rowCovered;
  std::vector<uint8_t> m_colCovered;
  std::vector<ptrdiff_t> m_starOfRow;
  std::vector<ptrdiff_t> m_starOfCol;
  std::vector<ptrdiff_t> m_primeOfRow;
  std::vector<size_t> m_primedRows;
  std::vector<std::pair<size_t, size_t>> m_path;
};

}  // namespace

void FindAssignments(Array2D<int>& costs, std::vector<int>& assignments) {
  // Rectangular input is not padded, on purpose: the caller makes the matrix square.
  if (costs.GetWidth() != costs.GetHeight()) return;
  Solver solver(costs);
  solver.Run();
  solver.Write(costs, assignments);
}

}  // namespace HungarianAlgorithm
