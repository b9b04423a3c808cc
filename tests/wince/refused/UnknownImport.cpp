// expect: undefined reference to `Beep'
extern "C" int Beep(int frequency, int milliseconds);
int Alarm() { return Beep(440, 100); }
