#pragma once

// A delivered message as Python's own mail parser reads it: what counts is
// how a real mail reader decodes it.

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

namespace tarlox::test {

// Its headers, plain body and attachments ("name type sha256"); with saveTo,
// the attachments are written into that directory as well.
inline QJsonObject ReadMail(const QString& path, const QString& saveTo = {})
{
    static const char* script = R"(
import email, email.policy, hashlib, json, os, sys
m = email.message_from_binary_file(open(sys.argv[1], 'rb'), policy=email.policy.default)
for p in m.iter_attachments():
    if sys.argv[2]: open(os.path.join(sys.argv[2], p.get_filename()), 'wb').write(p.get_content())
print(json.dumps({'deliveredTo': m['Delivered-To'], 'from': m['From'], 'replyTo': m['Reply-To'], 'to': m['To'], 'bcc': m['Bcc'],
  'subject': m['Subject'], 'defects': len(m.defects), 'body': m.get_body(('plain',)).get_content(),
  'files': [' '.join([p.get_filename(), p.get_content_type(), hashlib.sha256(p.get_content()).hexdigest()])
            for p in m.iter_attachments()]}))
)";
    QProcess python;
    python.start(QStringLiteral("/usr/bin/python3"), {QStringLiteral("-c"), QString::fromUtf8(script), path, saveTo});
    python.waitForFinished(30000);
    return QJsonDocument::fromJson(python.readAllStandardOutput()).object();
}

}  // namespace tarlox::test
