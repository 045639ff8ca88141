// HungarianAlgorithm: the square assignment problem by the Munkres steps with stars and primes.
#pragma once

#include <vector>

#include <nybase/data/Array2D.h>

namespace HungarianAlgorithm {

// Pairs each x with one y so that the sum of costs(x, y) is least; on return assignments[x] is
// the y chosen for x (assignments is resized to n). Ties resolve by the fixed order of the steps
// (earliest zero in x-major, y-minor order), so equal inputs give equal assignments. costs is
// overwritten with the reduced matrix. A matrix whose width is not its height is ignored:
// assignments and costs stay untouched. Any int costs give a minimal assignment (the working
// arithmetic is 64-bit); the reduced costs written back are then taken modulo 2^32.
// std::bad_alloc from the working arrays leaves by exception.
void FindAssignments(Array2D<int>& costs, std::vector<int>& assignments);

}  // namespace HungarianAlgorithm
