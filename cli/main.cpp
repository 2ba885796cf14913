#include <cstdio>

int main() {
  std::puts("usage: codebook [options] FILE [CODEBOOK arguments...]");
  return 0;
}
