// expect: larger than 2048 bytes
void Fill(char* bytes);
void Use() {
  char bytes[4096];
  Fill(bytes);
}
