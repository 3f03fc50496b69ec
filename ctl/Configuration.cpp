#include "ctl/Configuration.h"

#include "xml/CElementReader.h"
#include "xml/DocumentModel.h"

namespace QMT
{

namespace
{

class HandlerReader : public CElementReader
{
public:
    Configuration& configuration()
    {
        return _configuration;
    }

protected:
    void begin(const std::string& tag, const Attributes& attributes) override
    {
        const Open around = _open.empty() ? Open() : _open.back();
        Open element;
        if (tag == DocumentModel::PARTICIPANTS)
        {
            ++_configuration.containerCount;
        }
        else if (tag == DocumentModel::PARTICIPANT)
        {
            element = {Place::HANDLER, _configuration.handlers.size()};
            _configuration.handlers.emplace_back();
            _interfaces.emplace_back();
        }
        else if (around.place == Place::HANDLER)
        {
            element = beginInHandler(around.handler, tag, attributes);
        }
        else if (around.place == Place::ROOTS && tag == DocumentModel::ROOT)
        {
            _configuration.handlers[around.handler].rootClasses.push_back(attributes.getValue(DocumentModel::NAME));
        }
        _open.push_back(element);
    }

    void end() override
    {
        _open.pop_back();
    }

private:
    enum class Place
    {
        ELSEWHERE,
        HANDLER,
        ROOTS
    };

    /// An element that has not ended, and the index of its handler unless it is ELSEWHERE.
    struct Open
    {
        Place place = Place::ELSEWHERE;
        std::size_t handler = 0;
    };

    /// The interfaces of a handler seen so far: only the first of each kind counts.
    struct Interfaces
    {
        bool hasManagedObject = false;
        bool hasTxResource = false;
    };

    Open beginInHandler(std::size_t index, const std::string& tag, const Attributes& attributes)
    {
        Handler& handler = _configuration.handlers[index];
        Interfaces& interfaces = _interfaces[index];
        if (tag == DocumentModel::ROOTS)
        {
            return {Place::ROOTS, index};
        }
        if (tag == DocumentModel::MANAGED_OBJECT && !interfaces.hasManagedObject)
        {
            interfaces.hasManagedObject = true;
            handler.name = attributes.getValue(DocumentModel::COMP_NAME);
            handler.moVersion = attributes.getValue(DocumentModel::VERSION);
        }
        if (tag == DocumentModel::TX_RESOURCE && !interfaces.hasTxResource)
        {
            interfaces.hasTxResource = true;
            handler.trVersion = attributes.getValue(DocumentModel::VERSION);
        }
        return Open();
    }

    Configuration _configuration;
    std::vector<Interfaces> _interfaces;
    std::vector<Open> _open;
};

} // namespace

bool Handler::isPlaceholder() const
{
    return name == DocumentModel::PLACEHOLDER;
}

std::optional<Configuration> readConfiguration(const std::string& text)
{
    HandlerReader reader;
    if (!reader.read(text))
    {
        return std::nullopt;
    }
    return std::move(reader.configuration());
}

} // namespace QMT
