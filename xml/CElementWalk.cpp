#include "xml/CElementWalk.h"

#include <Poco/DOM/Element.h>

namespace QMT
{

using Poco::XML::Element;
using Poco::XML::Node;
using Poco::XML::NodeFilter;

CElementWalk::NameFilter::NameFilter(const Node& root, const std::string& tag) : _root(root), _tag(tag)
{
}

short CElementWalk::NameFilter::acceptNode(Node* node)
{
    return node != &_root && node->nodeName() == _tag ? NodeFilter::FILTER_ACCEPT : NodeFilter::FILTER_SKIP;
}

CElementWalk::CElementWalk(Node& root, const std::string& tag)
    : _filter(root, tag), _nodes(&root, NodeFilter::SHOW_ELEMENT, &_filter)
{
}

Element* CElementWalk::next()
{
    return static_cast<Element*>(_nodes.nextNode());
}

Element* CElementWalk::first(Node& root, const std::string& tag)
{
    return CElementWalk(root, tag).next();
}

Element* CElementWalk::only(Node& root, const std::string& tag)
{
    CElementWalk walk(root, tag);
    Element* const found = walk.next();
    return found != nullptr && walk.next() == nullptr ? found : nullptr;
}

} // namespace QMT
