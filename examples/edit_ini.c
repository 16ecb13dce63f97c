/* Reads, sets or removes one value of an INI file: edit_ini FILE SECTION KEY [VALUE | --remove] */
#include <quorv/platform/ini.h>
#include <stdio.h>
#include <string.h>

static int print_value(MIniHandle ini, const char *section, const char *key) {
    char value[2048];
    uint32_t size = sizeof value;
    if (!MIniReadSingleS(ini, section, key, MINI_TYPE_STRING, value, &size)) return 0;
    puts(value);
    return 1;
}

int main(int argc, char **argv) {
    MIniHandle ini;
    int done;
    if (argc != 4 && argc != 5) {
        fprintf(stderr, "usage: edit_ini FILE SECTION KEY [VALUE | --remove]\n");
        return 2;
    }
    ini = MIniStartS(argv[1]); /* makes the file when there is none */
    if (ini == NULL) {
        fprintf(stderr, "edit_ini: %s: cannot be read\n", argv[1]);
        return 1;
    }
    if (argc == 4)
        done = print_value(ini, argv[2], argv[3]);
    else if (strcmp(argv[4], "--remove") == 0)
        done = MIniRemoveS(ini, argv[2], argv[3]);
    else
        done =
            MIniWriteSingleS(ini, argv[2], argv[3], MINI_TYPE_STRING, argv[4], (uint32_t)strlen(argv[4]) + 1);
    if (!done) fprintf(stderr, "edit_ini: [%s] %s: no such key, or not a valid one\n", argv[2], argv[3]);

    /* Edits reach the file here, whole or not at all. */
    if (!MIniEndS(ini)) {
        fprintf(stderr, "edit_ini: %s: cannot be written\n", argv[1]);
        done = 0;
    }
    return done ? 0 : 1;
}
