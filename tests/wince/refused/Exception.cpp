// expect: exception handling disabled
void Complain() { throw 1; }
