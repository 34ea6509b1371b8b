// PseudoRND: a random source of its own, apart from rand(): a Lehmer
// generator seeds the R250 shift register. No script function draws from
// it; it exists for code that needs a sequence it can seed and replay.
#ifndef SORN_SCRIPT_PSEUDORND_H
#define SORN_SCRIPT_PSEUDORND_H

#include <cstdint>

class PseudoRND {
 public:
  enum { kWords = 250, kLag = 103 };

  explicit PseudoRND(uint32_t seed = 1) { R250Seed(seed); }

  // The next state of the Lehmer generator (multiplier 16807, modulus
  // 0xFFFFFFFF), by the quotient and remainder scheme with its divisions
  // grouped as below; never 0.
  uint32_t LCG();
  // Fills the table from the generator and makes 32 of its words linearly
  // independent.
  void R250Seed(uint32_t seed);
  // The next value of the shift register with lags 250 and 103.
  uint32_t R250();

  uint32_t word(int i) const { return table_[i]; }
  uint32_t state() const { return state_; }
  void SetState(uint32_t state) { state_ = state; }

 private:
  uint32_t state_;
  uint32_t table_[kWords];
  int index_;
};

#endif
