// An application that does nothing: the cost of starting and ending one with the same libraries.
#include <Poco/AutoPtr.h>
#include <Poco/Util/Application.h>

#include <string>
#include <vector>

namespace
{

class EmptyApplication : public Poco::Util::Application
{
protected:
    int main(const std::vector<std::string>&) override
    {
        return EXIT_OK;
    }
};

} // namespace

int main(int argc, char** argv)
{
    Poco::AutoPtr<EmptyApplication> application(new EmptyApplication);
    application->init(argc, argv);
    return application->run();
}
