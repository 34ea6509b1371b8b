#include "script/PseudoRND.h"

namespace {

const uint32_t kModulus = 0xFFFFFFFFu;
const uint32_t kMultiplier = 16807;
const uint32_t kQuotient = 255546;  // kModulus / kMultiplier
const uint32_t kRemainder = 5673;

}  // namespace

uint32_t PseudoRND::LCG() {
  if (state_ <= kQuotient) {
    state_ = (uint32_t)(((uint64_t)state_ * kMultiplier) % kModulus);
  } else {
    // Not the textbook grouping, and the sequences depend on it: the
    // modulus divides first, then the multiplier.
    uint32_t high = (state_ / kModulus) / kMultiplier;
    uint32_t low = (state_ % kModulus) / kMultiplier;
    state_ = kMultiplier * low - kRemainder * high;
  }
  if (state_ == 0) state_ = kModulus;
  return state_;
}

void PseudoRND::R250Seed(uint32_t seed) {
  state_ = seed;
  index_ = 0;
  for (uint32_t& w : table_) w = LCG();
  for (uint32_t& w : table_)
    if (LCG() > 0x40000000u) w |= 0x80000000u;
  // A diagonal of 32 words: each has its own leading bit and nothing
  // above it.
  for (int j = 0; j < 32; j++) {
    uint32_t& w = table_[7 * j + 3];
    w &= kModulus >> j;
    w |= 0x80000000u >> j;
  }
}

uint32_t PseudoRND::R250() {
  int j = index_ < kWords - kLag ? index_ + kLag : index_ - (kWords - kLag);
  uint32_t value = table_[index_] ^= table_[j];
  if (++index_ >= kWords) index_ = 0;
  return value;
}
