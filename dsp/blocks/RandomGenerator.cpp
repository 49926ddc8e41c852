#include "blocks/RandomGenerator.h"

std::atomic<uint32_t> randState{0};
std::atomic<uint32_t> noiseSeed{0};
