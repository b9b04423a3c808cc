// expect: floating-point arithmetic
double HoursLater(double date, double hours) { return date + hours / 24; }
