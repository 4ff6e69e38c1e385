#include "output/forms/AnnotateFiles.h"

namespace tarlox {

void AnnotateFiles::start(const QStringList& files, std::function<void()> then)
{
    files_ = files;
    then_ = std::move(then);
    next();
}

void AnnotateFiles::next()
{
    if (files_.isEmpty()) {
        waiting_ = false;
        if (auto then = std::exchange(then_, {}))
            then();
        return;
    }
    waiting_ = true;
    emit annotateRequested(files_.takeFirst());
}

void AnnotateFiles::annotationDone()
{
    if (waiting_)
        next();
}

void AnnotateFiles::cancel()
{
    files_.clear();
    then_ = {};
    waiting_ = false;
}

}  // namespace tarlox
