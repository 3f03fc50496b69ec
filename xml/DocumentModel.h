#ifndef QMT_DocumentModel_INCLUDED
#define QMT_DocumentModel_INCLUDED

#include <string>

/// The names in the framework's configuration document and in model files that the tool reads or writes.
namespace QMT::DocumentModel
{

inline const std::string PARTICIPANTS = "participants";    ///< container of all handlers
inline const std::string PARTICIPANT = "participant";      ///< one handler
inline const std::string ROOTS = "roots";                  ///< container of a handler's root classes
inline const std::string ROOT = "root";                    ///< one root class; in a model file: marks its parent as one
inline const std::string MANAGED_OBJECT = "managedObject"; ///< the handler's managed object interface
inline const std::string TX_RESOURCE = "txResource";       ///< the handler's transactional resource interface

inline const std::string NAME = "name";
inline const std::string COMP_NAME = "compName"; ///< the handler's name, on both of its interfaces
inline const std::string IF_NAME = "ifName";
inline const std::string VERSION = "version";

inline const std::string PLACEHOLDER = "VELDA_OAM_COMPONENT"; ///< the handler of a newly installed framework

} // namespace QMT::DocumentModel

#endif // QMT_DocumentModel_INCLUDED
