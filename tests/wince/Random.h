// Random choices, the same ones for the same seed.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace test {

class Random {
 public:
  explicit Random(unsigned seed) : m_engine(seed) {}
  // Below limit.
  unsigned Below(unsigned limit) { return m_engine() % limit; }
  bool OneIn(unsigned many) { return Below(many) == 0; }
  std::uint32_t Word() { return m_engine(); }
  template <class Value>
  const Value& Of(const std::vector<Value>& values) {
    return values[Below(static_cast<unsigned>(values.size()))];
  }

 private:
  std::mt19937 m_engine;
};

}  // namespace test
