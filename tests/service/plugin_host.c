// Loads the library, begins to use it and unloads it again while its receive thread runs.
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

int main(int argc, char** argv)
{
    void* const library = dlopen(argv[argc - 1], RTLD_NOW);
    uint32_t (*const init)(void) = library ? (uint32_t(*)(void))dlsym(library, "VeskVideoInit") : NULL;
    if (init == NULL || init() != 0 || dlclose(library) != 0)
        return 1;
    puts("unloaded");
    fflush(stdout);
    sleep(1);
    return 0;
}
