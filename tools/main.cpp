#include "devaccess/standard_streams.h"
#include "tools/boxtool.h"

int main(int argc, char** argv)
{
    capd::open_standard_streams();
    return boxtool::run(argc, argv);
}
