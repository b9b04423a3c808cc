// expect: floating-point arithmetic
bool IsLater(double left, double right) { return left > right; }
