#pragma once

#include <QString>

// The system's own fixed texts, word for word, in one table. Tests check a
// prompt by its title, icon, buttons and values, and compare its full text
// only against an entry here.
namespace tarlox::test::texts {

inline const QString HeatRequired = QStringLiteral("A Heat # must be entered!");
inline const QString PartRequired = QStringLiteral("A Part # must be entered!");
inline const QString FewerHeatsThanParts = QStringLiteral("# of Heats < # of Parts!");
inline const QString RepeatedInEntry =
    QStringLiteral("Heat #: %1\r\nPart #: %2\r\nwere duplicated in the entry\r\nYou must change this before scanning!");
inline const QString AlreadyOnFile = QStringLiteral(
    "Heat #: %1\r\nPart #: %2\r\n%3\r\n%4\r\n\r\nis already on file! Select 'OK' to add anyway\r\nor 'Cancel' to end without saving");
inline const QString ImageNotInDatabase = QStringLiteral("Can't find image in data base!");
inline const QString ImageFileGone = QStringLiteral("This image file no longer exists!");
inline const QString ImageNotCreated = QStringLiteral("Image file was not created!");
inline const QString ImageFileNotCreated = QStringLiteral("Image file '%1' was not created!");
inline const QString NoRecordsMatch = QStringLiteral("No records match this selection criteria");
inline const QString SaveChanges = QStringLiteral("Do you want to save your changes?");
inline const QString DeletePage = QStringLiteral("Are you sure you want to remove this page?");
inline const QString PutReportInScanner = QStringLiteral("Put the Test Report in the Scanner");
inline const QString ScanTooSmall = QStringLiteral(
    "The image returned from the scanner was too small!\r\nIt should have been %1 inches but instead was %2 inches.\r\n"
    "You may need to use the scanner's interface to scan these documents or you might try upgrading drivers for you scanner.\r\n"
    "To use this scan anyway select 'Yes' or select 'No' to abort this scan.\r\n"
    "To permanently ignore this problem, Select 'Ignore Size Check' in the Change System Information form.");
inline const QString PrepareToScan = QStringLiteral("Put the page to scan in the scanner");
inline const QString RestoreOriginal =
    QStringLiteral("Are you sure you want to restore the original cert\rand abort any changes that have been made?");
inline const QString InitializeSettings = QStringLiteral("Select 'OK' to initialize your Tarlox setings, 'Cancel' to end");
inline const QString NoLocalSettings = QStringLiteral("The TARLOX.INI file could not be found!");
inline const QString NoUpgradeProgram = QStringLiteral(
    "WARNING: This version of Tarlox (%1)\r\nis different than the server (%2)!\r\nCan't upgrade automatically!\r\nMissing file: '%3'");
inline const QString CantUpgrade =
    QStringLiteral("The upgrade program could not be run!\r\nHit 'OK' to run without upgrading\r\nor 'Cancel' to end.");
inline const QString UserNameRequired = QStringLiteral("User Name must be filled in!");
inline const QString InvalidServerFile = QStringLiteral("Invalid Server Configuration File!");
inline const QString TempDirRequired = QStringLiteral("The Temporary Directory must not be left blank");
inline const QString CreateTempDir = QStringLiteral("Invalid temporary directory! Do you want to create it?");
inline const QString InvalidStampFile = QStringLiteral("Invalid Stamp File");
inline const QString AddReferenceOnly = QStringLiteral(
    "Warning! This will only add a new reference to an existing image and will not not add the image itself. This should only be "
    "used to add a new reference to an image that has already been scanned. Enter the information and hit 'Update' button to add the record.");
inline const QString OnlyReference = QStringLiteral(
    "Error! This reference is the only reference for this image. If you remove it you will no longer have access to this image. "
    "Use the 'Change' button to change the values, or the 'Delete' button to remove the image and the reference.");
inline const QString InvalidDateReenter =
    QStringLiteral("Warning! The date is invalid. Hit 'OK' to re-enter the Date or 'Cancel' to end without adding.");

}  // namespace tarlox::test::texts
