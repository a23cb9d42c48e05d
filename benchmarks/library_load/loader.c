/* Loads the library that it is given, and writes to standard output how many nanoseconds that took, how many KiB of
 * memory of its own the library has then, and how many places the loader had to fill in. It is C, so that the library's dependencies are loaded with it; the symbols of
 * stack and console, which the library leaves to the application, are here by name only. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <link.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

static long long nowNs(void) {
  struct timespec reading;
  clock_gettime(CLOCK_MONOTONIC, &reading);
  return (long long)reading.tv_sec * 1000000000 + reading.tv_nsec;
}

/* In KiB: what smaps(5) calls Private_Dirty, of the mappings of a file and of the memory without a file behind them. */
static long privateDirtyOf(const char* path) {
  FILE* maps = fopen("/proc/self/smaps", "r");
  char line[4096];
  char file[4096] = "";
  unsigned long begin = 0;
  unsigned long end = 0;
  unsigned long lastEnd = 0;
  long sum = 0;
  int counts = 0;
  if (maps == NULL) {
    return -1;
  }
  while (fgets(line, sizeof line, maps) != NULL) {
    long dirty = 0;
    file[0] = '\0';
    if (sscanf(line, "%lx-%lx %*s %*s %*s %*s %4095[^\n]", &begin, &end, file) >= 2) {
      counts = strcmp(file, path) == 0 || (counts && file[0] == '\0' && begin == lastEnd);
      lastEnd = end;
    } else if (counts && sscanf(line, "Private_Dirty: %ld kB", &dirty) == 1) {
      sum += dirty;
    }
  }
  fclose(maps);
  return sum;
}

static unsigned long relocationsOf(const struct link_map* map) {
  unsigned long bytes = 0;
  for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_RELSZ || entry->d_tag == DT_RELASZ || entry->d_tag == DT_PLTRELSZ) {
      bytes += entry->d_un.d_val;
    }
  }
  return bytes / (sizeof(void*) == 4 ? sizeof(Elf32_Rel) : sizeof(Elf64_Rela));
}

int main(int count, char** arguments) {
  if (count != 2) {
    return 2;
  }
  const long long began = nowNs();
  void* library = dlopen(arguments[1], RTLD_NOW);
  const long long took = nowNs() - began;
  if (library == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  struct link_map* map = NULL;
  dlinfo(library, RTLD_DI_LINKMAP, &map);
  printf("%lld %ld %lu\n", took, privateDirtyOf(map->l_name), relocationsOf(map));
  return 0;
}
