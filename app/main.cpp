#include "app/Process.h"

int main(int argc, char** argv)
{
    try
    {
        return QMT::runProcess(argc, argv);
    }
    catch (...)
    {
        // Without a handler the stack need not be unwound, and the objects would not be cleaned up.
        throw;
    }
}
