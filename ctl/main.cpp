#include "base/ProcessSetup.h"
#include "ctl/Companion.h"

#include <fcntl.h>
#include <unistd.h>

#include <iostream>

int main(int argc, char** argv)
{
    // An answer to a closed standard output is lost, and must not count as given.
    const bool isOutputOpen = ::fcntl(STDOUT_FILENO, F_GETFD) >= 0;
    QMT::setUpProcess();
    if (!isOutputOpen)
    {
        std::cout.setstate(std::ios::badbit);
    }
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    return QMT::runCompanion(words, std::cout, std::cerr);
}
