#include "app/Process.h"

int main(int argc, char** argv)
{
    return QMT::runProcess(argc, argv);
}
