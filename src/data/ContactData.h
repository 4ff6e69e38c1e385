#pragma once

#include <QStringList>

namespace tarlox {

class Session;

// The address book; the contact in work is session.contact.
// Each line of `lines` is first name, tab, last name, tab, company.
bool LoadContacts(Session& session, QStringList& lines, bool companyFirst);
bool AddContact(Session& session, bool retry);
bool ReadContact(Session& session);
bool DeleteContact(Session& session);

}  // namespace tarlox
