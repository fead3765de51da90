#include "tools/boxtool.h"

int main(int argc, char** argv)
{
    return boxtool::run(argc, argv);
}
