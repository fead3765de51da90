#include "recorder/capd.h"

int main(int argc, char* argv[])
{
    return capd::run(argc, argv);
}
