#include "app/UpmixCommandLine.h"

int main (int argc, char** argv)
{
    return UpmixCommandLine::run (argc, argv);
}
