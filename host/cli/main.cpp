#include "PalisorneCommandLine.h"

#include <iostream>

int main(int argc, char** argv)
{
    return PalisorneCommandLine(std::cout, std::cerr).run(argc, argv);
}
