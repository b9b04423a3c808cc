// expect: thread-local data
thread_local int t_depth = 0;
int Deeper() { return ++t_depth; }
