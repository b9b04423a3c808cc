// expect: std::atomic_flag is not atomic on these phones
#include <atomic>

constinit std::atomic_flag g_taken;
bool Take() { return !g_taken.test_and_set(); }
