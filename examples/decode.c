/* Shows print buffers as text: decode STRING_TABLE BUFFER... */
#include <stdio.h>
#include <zarn_utility.h>

/* Reads a file of fewer than capacity bytes and returns its size, or 0 if it can't be read. */
static size_t load(const char* name, char* bytes, size_t capacity) {
  FILE* file = fopen(name, "rb");
  size_t size = file == NULL ? 0 : fread(bytes, 1, capacity - 1, file);
  if (file != NULL) fclose(file);
  bytes[size] = '\0'; /* the library reads a format string up to its NUL, and this one ends the last string */
  return size;
}

int main(int argc, char** argv) {
  static char strings[1 << 20];
  static char buffer[4096];
  if (argc < 3) {
    fprintf(stderr, "usage: %s STRING_TABLE BUFFER...\n", argv[0]);
    return 2;
  }
  size_t stringsSize = load(argv[1], strings, sizeof strings);
  int status = 0;
  for (int i = 2; i < argc; ++i) {
    size_t size = load(argv[i], buffer, sizeof buffer);
    char* text = db_get_printf_string(buffer, size, strings, stringsSize);
    if (text == NULL) {
      fprintf(stderr, "%s: not a print buffer of this string table\n", argv[i]);
      status = 1;
      continue;
    }
    fputs(text, stdout);
    db_free_printf_string(&text);
  }
  return status;
}
