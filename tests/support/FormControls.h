#pragma once

#include <QObject>

#include <gtest/gtest.h>

namespace tarlox::test {

// A control of a form, found by its object name as the person at the screen
// knows it; a missing control fails the test.
template <class T> T* child(QObject* form, const char* name)
{
    T* w = form->findChild<T*>(QLatin1String(name));
    EXPECT_NE(w, nullptr) << name;
    return w;
}
template <class T> T* child(QObject& form, const char* name) { return child<T>(&form, name); }

}  // namespace tarlox::test
