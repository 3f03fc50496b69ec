#include "xml/CElementWalk.h"

#include <Poco/DOM/Element.h>

namespace QMT
{

using Poco::XML::Element;
using Poco::XML::Node;

CElementWalk::CElementWalk(Node& root, const std::string& tag) : _root(&root), _tag(tag), _node(&root)
{
}

Element* CElementWalk::next()
{
    do
    {
        advance();
    } while (_node != nullptr && !isWanted());
    return static_cast<Element*>(_node);
}

void CElementWalk::advance()
{
    if (_node == nullptr)
    {
        return;
    }
    Node* following = _node->firstChild();
    while (following == nullptr && _node != _root)
    {
        following = _node->nextSibling();
        _node = following == nullptr ? _node->parentNode() : _node;
    }
    _node = following;
}

bool CElementWalk::isWanted() const
{
    return _node->nodeType() == Node::ELEMENT_NODE && _node->nodeName() == _tag;
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
