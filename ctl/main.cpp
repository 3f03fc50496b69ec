#include "base/ProcessSetup.h"
#include "ctl/Companion.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

int main(int argc, char** argv)
{
    // An answer to a closed standard output is lost, and must not count as delivered.
    const bool isOutputOpen = ::fcntl(STDOUT_FILENO, F_GETFD) >= 0;
    QMT::setUpProcess();
    // A file that must not grow any more fails like one on a full disk. Unlike an ignored signal, a handler is not
    // inherited by the validator.
    static_cast<void>(std::signal(SIGXFSZ, [](int) {}));
    if (!isOutputOpen)
    {
        std::cout.setstate(std::ios::badbit);
    }
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    return QMT::runCompanion(words, std::cout, std::cerr);
}
