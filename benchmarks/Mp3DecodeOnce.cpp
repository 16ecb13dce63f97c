// Decodes a stream of MPEG audio once and prints its sample frames, for whoever counts instructions
// meanwhile: callgrind, or an emulator of another processor.
//
// usage: mp3_decode_once quorv|best|generic FILE

#include <cstdio>

#include "support/DecodeMp3.h"

int main(int argc, char **argv) {
    if (argc != 3) return 2;
    printf("%zu\n", quorv::bench::decode_mp3(argv[1], quorv::bench::load_file(argv[2])));
    return 0;
}
