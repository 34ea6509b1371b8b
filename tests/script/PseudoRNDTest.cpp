#include "script/PseudoRND.h"

#include <gtest/gtest.h>

TEST(PseudoRND, LCGMultipliesSmallStatesAndGroupsDivisionsForLargeOnes) {
  PseudoRND r;
  r.SetState(1);
  EXPECT_EQ(r.LCG(), 16807u);
  EXPECT_EQ(r.LCG(), 282475249u);
  r.SetState(255546);
  EXPECT_EQ(r.LCG(), 255546u * 16807u);
  // Above the quotient: low is state / 16807, high is 0 below the modulus.
  r.SetState(255547);
  EXPECT_EQ(r.LCG(), 16807u * (255547u / 16807u));
  r.SetState(0xFFFFFFFEu);
  EXPECT_EQ(r.LCG(), 16807u * (0xFFFFFFFEu / 16807u));
  // The modulus itself: high 0, low 0, and 0 is never a state.
  r.SetState(0xFFFFFFFFu);
  EXPECT_EQ(r.LCG(), 0xFFFFFFFFu);
  r.SetState(0);
  EXPECT_EQ(r.LCG(), 0xFFFFFFFFu);
  // So a multiple of the multiplier above the quotient stays where it is,
  // unlike the textbook generator.
  r.SetState(1977326743u);
  EXPECT_EQ(r.LCG(), 1977326743u);
  EXPECT_EQ(r.LCG(), 1977326743u);
}

TEST(PseudoRND, SeedMakesADiagonalOfIndependentWords) {
  PseudoRND r(12345);
  for (int j = 0; j < 32; j++) {
    uint32_t w = r.word(7 * j + 3);
    EXPECT_EQ(w & (0x80000000u >> j), 0x80000000u >> j) << j;
    if (j > 0) {
      EXPECT_EQ(w >> (32 - j), 0u) << j;
    }
  }
}

TEST(PseudoRND, R250FeedsBackAtLag103AndReplaysFromItsSeed) {
  PseudoRND a(7), b(7), c(8);
  uint32_t first = a.word(0) ^ a.word(103);
  EXPECT_EQ(a.R250(), first);
  bool differs = false;
  b.R250();
  c.R250();
  for (int i = 1; i < 1000; i++) {
    uint32_t x = a.R250();
    EXPECT_EQ(x, b.R250());
    differs |= x != c.R250();
  }
  EXPECT_TRUE(differs);
  // Index 147 wraps its partner back to the start of the table.
  PseudoRND d(9);
  for (int i = 0; i < 147; i++) d.R250();
  uint32_t expected = d.word(147) ^ d.word(0);
  EXPECT_EQ(d.R250(), expected);
}
