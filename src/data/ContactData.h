#pragma once

#include <QStringList>

namespace tarlox {

class Session;

// The address book; the contact in work is session.contact.
// Each line of `lines` is first name, tab, last name, tab, company.
bool LoadContacts(Session& session, QStringList& lines, bool companyFirst, bool keepOpen);
bool AddContact(Session& session, bool retry, bool keepOpen);
bool ReadContact(Session& session, bool keepOpen);
bool DeleteContact(Session& session, bool keepOpen);

}  // namespace tarlox
