#include "VxMachine.h"

#include <immintrin.h>
#include <x86intrin.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vxbench {

namespace {

// Tries of each measurement; the fastest counts. Tries are short (about a millisecond), so that
// on a machine shared with other work some of them run without being interrupted.
constexpr int kTries = 101;
// Rounds of the clock's chain a try, 16 additions a round: 1 ms at 4 GHz.
constexpr std::uint64_t kChainRounds = 250000;
// Rounds of the vector loops a try, 28 or 56 instructions a round: 0.5 to 1 ms at 4 GHz.
constexpr std::uint64_t kVectorRounds = 100000;

using TClock = std::chrono::steady_clock;

double SecondsSince(TClock::time_point start) {
  return std::chrono::duration<double>(TClock::now() - start).count();
}

// 16 dependent additions a round: their latency is one cycle, so the round takes 16 cycles
// whatever the loop's own counter and branch cost (they run beside the chain).
__attribute__((noinline)) std::uint64_t AddChain(std::uint64_t rounds) {
  std::uint64_t x = 0;
  for (std::uint64_t i = 0; i < rounds; ++i) {
    asm volatile(
        "add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\t"
        "add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\t"
        "add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\t"
        "add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0"
        : "+r"(x));
  }
  return x;
}

// Independent vector instructions, two blocks a round: additions (three operands, no
// dependence at all) and fused multiply-adds (each accumulates into its own register: 14 or 28
// chains, more than any current core needs to cover the latency), so that a round runs at the
// units' throughput. The registers start at zero: no subnormal operand slows a unit down.
constexpr double kInstructions256 = 28.0;  // a round
constexpr double kInstructions512 = 56.0;

// A loop of `rounds` rounds, each two blocks of op1 writing the registers `dests1` and op2 writing
// `dests2`, of kind `reg` ("ymm" or "zmm"), from the sources s1 and s2; every register starts at
// zero. The clobbers name every register the loop touches. With op1 = op2 it measures one
// instruction; with a multiplication and an addition, the two side by side, as the library's
// kernels issue them.
#define VX_VECTOR_LOOP(name, isa, reg, zero, op1, dests1, op2, dests2, s1, s2, ...)                \
  __attribute__((noinline, target(isa))) void name(std::uint64_t rounds) {                         \
    asm volatile(".irp r," dests1 "," dests2 "," s1 "," s2 "\n\t" zero " %%" reg "\\r, %%" reg     \
                 "\\r, %%" reg                                                                     \
                 "\\r\n\t.endr\n\t"                                                                \
                 "1:\n\t"                                                                          \
                 ".rept 2\n\t.irp r," dests1 "\n\t" op1 " %%" reg s1 ", %%" reg s2 ", %%" reg      \
                 "\\r\n\t.endr\n\t.irp r," dests2 "\n\t" op2 " %%" reg s1 ", %%" reg s2 ", %%" reg \
                 "\\r\n\t.endr\n\t.endr\n\t"                                                       \
                 "dec %0\n\t"                                                                      \
                 "jnz 1b\n\t"                                                                      \
                 "vzeroupper"                                                                      \
                 : "+r"(rounds)                                                                    \
                 :                                                                                 \
                 : __VA_ARGS__, "cc");                                                             \
  }

#define VX_LOW_REGISTERS                                                                   \
  "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", \
      "xmm11", "xmm12", "xmm13", "xmm14", "xmm15"
#define VX_HIGH_REGISTERS                                                                   \
  "xmm16", "xmm17", "xmm18", "xmm19", "xmm20", "xmm21", "xmm22", "xmm23", "xmm24", "xmm25", \
      "xmm26", "xmm27", "xmm28", "xmm29", "xmm30", "xmm31"
#define VX_DESTS_14 "0,1,2,3,4,5,6,7,8,9,10,11,12,13"
#define VX_DESTS_7 "0,1,2,3,4,5,6"
#define VX_DESTS_7B "7,8,9,10,11,12,13"
#define VX_DESTS_14B "14,15,16,17,18,19,20,21,22,23,24,25,26,27"

VX_VECTOR_LOOP(Add256, "avx2", "ymm", "vxorpd", "vaddpd", VX_DESTS_7, "vaddpd", VX_DESTS_7B, "14",
               "15", VX_LOW_REGISTERS)
VX_VECTOR_LOOP(Fma256, "avx2,fma", "ymm", "vxorpd", "vfmadd231pd", VX_DESTS_7, "vfmadd231pd",
               VX_DESTS_7B, "14", "15", VX_LOW_REGISTERS)
VX_VECTOR_LOOP(Add512, "avx512f", "zmm", "vpxorq", "vaddpd", VX_DESTS_14, "vaddpd", VX_DESTS_14B,
               "30", "31", VX_LOW_REGISTERS, VX_HIGH_REGISTERS)
VX_VECTOR_LOOP(Fma512, "avx512f", "zmm", "vpxorq", "vfmadd231pd", VX_DESTS_14, "vfmadd231pd",
               VX_DESTS_14B, "30", "31", VX_LOW_REGISTERS, VX_HIGH_REGISTERS)
VX_VECTOR_LOOP(Mul512, "avx512f", "zmm", "vpxorq", "vmulpd", VX_DESTS_14, "vmulpd", VX_DESTS_14B,
               "30", "31", VX_LOW_REGISTERS, VX_HIGH_REGISTERS)
VX_VECTOR_LOOP(MulAdd512, "avx512f", "zmm", "vpxorq", "vmulpd", VX_DESTS_14, "vaddpd", VX_DESTS_14B,
               "30", "31", VX_LOW_REGISTERS, VX_HIGH_REGISTERS)

#undef VX_VECTOR_LOOP
#undef VX_DESTS_14B
#undef VX_LOW_REGISTERS
#undef VX_HIGH_REGISTERS
#undef VX_DESTS_14
#undef VX_DESTS_7
#undef VX_DESTS_7B

// The fastest of kTries runs of a vector loop, in instructions a cycle at `clockGHz`.
double PerCycle(void (*loop)(std::uint64_t), double instructions, double clockGHz) {
  loop(20 * kVectorRounds);  // wakes the units (and lets a wide-vector clock change settle)
  double best = 1e30;
  for (int t = 0; t < kTries; ++t) {
    const auto start = TClock::now();
    loop(kVectorRounds);
    best = std::min(best, SecondsSince(start));
  }
  return instructions * static_cast<double>(kVectorRounds) / (best * clockGHz * 1e9);
}

}  // namespace

TMachine MeasureMachine() {
  TMachine m;
  __builtin_cpu_init();
  m.avx2 = __builtin_cpu_supports("avx2");
  m.fma = __builtin_cpu_supports("fma");
  m.avx512f = __builtin_cpu_supports("avx512f");
  AddChain(50 * kChainRounds);  // lets the clock rise from idle
  std::vector<double> seconds(kTries);
  double bestTsc = 0.0;
  for (int t = 0; t < kTries; ++t) {
    const auto start = TClock::now();
    const std::uint64_t tsc = __rdtsc();
    AddChain(kChainRounds);
    const std::uint64_t ticks = __rdtsc() - tsc;
    seconds[static_cast<std::size_t>(t)] = SecondsSince(start);
    if (seconds[static_cast<std::size_t>(t)] <=
        *std::min_element(seconds.begin(), seconds.begin() + t + 1)) {
      bestTsc = static_cast<double>(ticks) / seconds[static_cast<std::size_t>(t)];
    }
  }
  std::sort(seconds.begin(), seconds.end());
  const double adds = 16.0 * static_cast<double>(kChainRounds);
  m.clockGHz = adds / seconds.front() * 1e-9;
  m.clockMedianGHz = adds / seconds[seconds.size() / 2] * 1e-9;
  m.tscGHz = bestTsc * 1e-9;
  if (m.avx2) m.add256PerCycle = PerCycle(&Add256, kInstructions256, m.clockGHz);
  if (m.avx2 && m.fma) m.fma256PerCycle = PerCycle(&Fma256, kInstructions256, m.clockGHz);
  if (m.avx512f) {
    m.add512PerCycle = PerCycle(&Add512, kInstructions512, m.clockGHz);
    m.fma512PerCycle = PerCycle(&Fma512, kInstructions512, m.clockGHz);
    m.mul512PerCycle = PerCycle(&Mul512, kInstructions512, m.clockGHz);
    m.mulAdd512PerCycle = PerCycle(&MulAdd512, kInstructions512, m.clockGHz);
  }
  return m;
}

double Wide512Gain(const TMachine& m) {
  if (!(m.add512PerCycle > 0.0) || !(m.add256PerCycle > 0.0)) return 0.0;
  return 2.0 * m.add512PerCycle / m.add256PerCycle;
}

}  // namespace vxbench
