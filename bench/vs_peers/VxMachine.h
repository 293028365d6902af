#pragma once
// What the processor under the benchmark does, measured rather than read from a data sheet: the
// clock its core runs at now, and how many 256-bit and 512-bit additions and fused
// multiply-adds of doubles it completes a cycle (whether its 512-bit units are full width or
// split each operation into two 256-bit halves).

namespace vxbench {

struct TMachine {
  // Core clock in GHz: a chain of dependent integer additions (one cycle each on every x86-64)
  // divided by its time; the fastest of many short tries, the least disturbed by other work.
  double clockGHz = 0.0;
  // The median of the tries: well below the fastest when other work shares the core.
  double clockMedianGHz = 0.0;
  // The time-stamp counter's rate in GHz (a fixed, nominal rate on current processors).
  double tscGHz = 0.0;
  bool avx2 = false;
  bool fma = false;
  bool avx512f = false;
  // Vector instructions completed a cycle, from loops of independent instructions; 0 where
  // not supported.
  double add256PerCycle = 0.0;
  double fma256PerCycle = 0.0;
  double add512PerCycle = 0.0;
  double fma512PerCycle = 0.0;
  double mul512PerCycle = 0.0;
  // Multiplies and adds mixed half and half (no fused multiply-add: the library's kernels
  // compile without it): the rate that bounds their arithmetic.
  double mulAdd512PerCycle = 0.0;
};

TMachine MeasureMachine();

// The doubles a cycle of the 512-bit over the 256-bit additions: about 2 for full-width 512-bit
// units, about 1 for units that execute a 512-bit operation as two halves; 0 without AVX-512.
double Wide512Gain(const TMachine& m);

}  // namespace vxbench
