#ifndef QMT_CElementWalk_INCLUDED
#define QMT_CElementWalk_INCLUDED

#include <string>

namespace Poco::XML
{
class Element;
class Node;
} // namespace Poco::XML

namespace QMT
{

/// Visits the elements of one name below a node, in document order and in one pass. The library's list of the same
/// elements walks the document again for each index, so that a loop over it is quadratic.
///
/// The node and its document are not owned and outlive the walk. An element just visited must not be removed before the
/// next step.
class CElementWalk
{
public:
    /// `root` itself is never visited.
    CElementWalk(Poco::XML::Node& root, const std::string& tag);

    /// The next element, or null when there is none left.
    Poco::XML::Element* next();

    /// The first element named `tag` below `root`, or null.
    static Poco::XML::Element* first(Poco::XML::Node& root, const std::string& tag);

    /// The element named `tag` below `root` when there is exactly one, else null.
    static Poco::XML::Element* only(Poco::XML::Node& root, const std::string& tag);

private:
    void advance();
    bool isWanted() const;

    Poco::XML::Node* const _root;
    const std::string _tag;
    Poco::XML::Node* _node; ///< the current position; null after the last node
};

} // namespace QMT

#endif // QMT_CElementWalk_INCLUDED
