#include "resources/strings.h"

namespace px40 {

namespace {

const char16_t *Lookup(Str id)
{
    switch (id) {
    case Str::FontName:
        return u"Tahoma";
    case Str::FontSizeNormal:
        return u"8";
    case Str::FontSizeSmall:
        return u"6";
    case Str::FontSizeMedium:
        return u"10";
    case Str::FontSizeLarge:
        return u"18";
    case Str::FontSizeHuge:
        return u"36";

    case Str::MenuFile:
        return u"&File";
    case Str::MenuRealtime:
        return u"&Real-time data receive";
    case Str::MenuData:
        return u"&Data receive";
    case Str::MenuMoniterReceive:
        return u"&Moniter receive";
    case Str::MenuSetup:
        return u"&Settings";
    case Str::MenuView:
        return u"&View";
    case Str::MenuHelp:
        return u"&Help";
    case Str::FileOpen:
        return u"&Open...";
    case Str::FileClose:
        return u"&Close";
    case Str::FileSave:
        return u"&Save";
    case Str::FileSaveAs:
        return u"Save &As...";
    case Str::FileForward:
        return u"&Forward to Microsoft Excel...";
    case Str::FileExit:
        return u"E&xit";
    case Str::RealtimeNew:
        return u"&New";
    case Str::RealtimeStart:
        return u"Star&t";
    case Str::RealtimeStop:
        return u"Sto&p";
    case Str::DataMemory:
        return u"&MEMORY-mode";
    case Str::DataSave:
        return u"&SAVE-mode";
    case Str::MoniterStart:
        return u"Star&t";
    case Str::MoniterStop:
        return u"Sto&p";
    case Str::SetupCommport:
        return u"&Communications Port...";
    case Str::SetupInterval:
        return u"&Interval and Period...";
    case Str::SetupGraph:
        return u"&Graph...";
    case Str::ViewToolbar:
        return u"&Tool bar";
    case Str::ViewStatusbar:
        return u"&Status bar";
    case Str::HelpAbout:
        return u"&About PX40 Communication Software...";
    case Str::TipOpen:
        return u"Open";
    case Str::TipSave:
        return u"Save";
    case Str::TipForward:
        return u"Forward to Microsoft Excel";
    case Str::TipNew:
        return u"New";
    case Str::TipStart:
        return u"Start real-time data receive";
    case Str::TipMemoryData:
        return u"Start MEMORY-mode data receive";
    case Str::TipSaveData:
        return u"Start SAVE-mode data receive";
    case Str::TipStartMoniter:
        return u"Start moniter";
    case Str::TipInterval:
        return u"Interval and Period setup";
    case Str::TipGraph:
        return u"Graph setup";
    case Str::TipMoniter:
        return u"MEASURE Window ON/OFF";
    case Str::TipStop:
        return u"Stop";
    case Str::AskForwardAfterReceive:
        return u"Do you need forward to Microsoft Excel after received data?";
    case Str::AskForwardRealtime:
        return u"Do you need forward to Microsoft Excel real-time data?";
    case Str::CsvFiles:
        return u"CSV Files";
    case Str::FileReadOnly:
        return u"This file is a read-only file; you cannot save data to it.";
    case Str::OtherFilename:
    case Str::OtherFilenameOpen:
        return u"Specify a different filename.";
    case Str::FileAlreadyOpen:
        return u"This file is already open.";
    case Str::TimeoutError:
        return u"Timeout error occurred.";
    case Str::TipSource:
        return u"SOURECE Window ON/OFF"; // spelt so in the table
    case Str::ViewMoniter:
        return u"&MEASURE Window";
    case Str::ViewSource:
        return u"&SOURCE Window";
    case Str::ApplicationTitle:
        return u"PX40 Communication Software";

    case Str::Canceled:
        return u"Canceled.";
    case Str::Cancel:
        return u"Cancel";
    case Str::Canceling:
        return u"Canceling...";
    case Str::AskSaveChanges:
        return u"Do you want to save the changes you made to this file?";
    case Str::OtherDataType:
        return u"This file is a different data type.";
    case Str::StatisticMax:
        return u"MAX";
    case Str::StatisticMin:
        return u"MIN";
    case Str::StatisticAvg:
        return u"AVG";
    case Str::RealtimeData:
        return u"REAL-TIME DATA";
    case Str::SaveModeData:
        return u"SAVE-mode DATA";
    case Str::MemoryModeData:
        return u"MEMORY-mode DATA";
    case Str::HeadingTime:
        return u"TIME";
    case Str::HeadingData:
        return u"DATA";
    case Str::HeadingMode:
        return u"MODE";
    case Str::HeadingSource:
        return u"SRC.";
    case Str::HeadingNumber:
        return u"No.";

    case Str::ForwardTitle:
        return u"Forward to Microsoft Excel";
    case Str::ForwardFileFrame:
        return u"Microsoft Excel File";
    case Str::ForwardNew:
        return u"New";
    case Str::ForwardCustom:
        return u"Custom";
    case Str::ForwardTitleFrame:
        return u"Title";
    case Str::ForwardBrowse:
        return u"Browse...";
    case Str::ForwardKeepFile:
        return u"Always show this file";
    case Str::ForwardKeepTitle:
        return u"Always show this title";
    case Str::ExcelFiles:
        return u"Microsoft Excel Files";
    case Str::ForwardFileNotFound:
        return u"This file cannot be found.";

    case Str::IntervalTitle:
        return u"Interval and period setup";
    case Str::IntervalFrame:
        return u"Interval";
    case Str::PeriodFrame:
        return u"Period";
    case Str::PeriodNone:
        return u"None";
    case Str::PeriodCustom:
        return u"Custom";
    case Str::IllegalInterval:
        return u"Illegal interval.";
    case Str::IllegalPeriod:
        return u"Illegal period.";
    case Str::Day:
        return u"Day";
    case Str::Hour:
        return u"Hour";
    case Str::Minute:
        return u"Minute";
    case Str::Second:
        return u"Second";
    case Str::UnitOhm:
        return u"Ohm";
    case Str::UnitCelsius:
        return u"C.";

    case Str::MoniterTitle:
        return u"MEASURE";
    case Str::MeasCaption:
        return u"MEAS";
    case Str::OnCaption:
        return u"ON";

    case Str::PortTitle:
        return u"Communications Port setup";
    case Str::PortLabel:
        return u"Communications Port";
    case Str::GraphTitle:
        return u"Graph setup";
    case Str::GraphDataRange:
        return u"Data range";
    case Str::Automatic:
        return u"Automatic";
    case Str::Custom:
        return u"Custom";
    case Str::GraphXAxis:
        return u"X axis";
    case Str::GraphYAxis:
        return u"Y axis";
    case Str::GraphMinimum:
        return u"Minimum";
    case Str::GraphMaximum:
        return u"Maximum";
    case Str::GraphMajorUnit:
        return u"Major unit";
    case Str::GraphMinorUnit:
        return u"Minor unit";
    case Str::GraphTickCategories:
        return u"Number of categories between tick marks";
    case Str::GraphLabelCategories:
        return u"Number of categories between tick-mark labels";
    case Str::Apply:
        return u"Apply";
    case Str::IllegalValue:
        return u"Illegal value.";

    case Str::Receiving:
        return u"Receiving...";
    case Str::CommandError:
        return u"Command error occurred.";
    case Str::DataError:
        return u"Data error occurred.";
    case Str::ForwardData:
        return u"Forward data to Microsoft Excel";
    case Str::Forwarding:
        return u"Forwarding...";
    case Str::ReceiveSaveMode:
        return u"Receive SAVE-mode data";
    case Str::ReceiveMemoryMode:
        return u"Receive MEMORY-mode data";

    case Str::Rtd400Ohm:
        return u"400Ohm";
    case Str::TempSetValue:
        return u"Set value";
    case Str::TempSetMillivolt:
        return u"mV";
    case Str::TempSetAmbient:
        return u"Ambient-temp";
    case Str::PulseFrequency:
        return u"Freq.";
    case Str::PulseAmplitude:
        return u"Amp.";
    case Str::SourceValueTitle:
        return u"MEAS VAL.";
    case Str::SourceSet:
        return u"SET";
    case Str::SourceCancel:
        return u"CANCEL";
    case Str::PulseCount:
        return u"Count";

    case Str::NoAnswer:
        return u"Can not communicate with the PX40.Confirm the next contents.";
    case Str::NoAnswerPlug:
        return u" Do you firmly plug into the PX40?";
    case Str::NoAnswerPower:
        return u" Is the PX40 turned on?";
    case Str::NoAnswerPort:
        return u" Is the establishment of the communication port right?";
    case Str::NoAnswerMode:
        return u" Is the communication mode normal mode?";
    case Str::PrinterMode:
        return u"Printer mode";
    case Str::TalkOnlyMode:
        return u"Talk only mode";
    case Str::ChangeMode:
        return u"Change normal mode";
    case Str::CommunicationError:
        return u"Communication error";

    case Str::Ok:
        return u"OK";
    case Str::Yes:
        return u"&Yes";
    case Str::No:
        return u"&No";
    case Str::Close:
        return u"Close";
    case Str::Version:
        return u"Version ";
    case Str::ProductLine:
        return u"Readings, logging and source control for the PX40 process calibrator";
    case Str::CopyrightLine:
        return u"Copyright \u00a9 2026 the PX40 Communication Software developers";
    case Str::LicenceLine:
        return u"Free software under the GNU General Public License, version 3 or later.";
    case Str::NoWarrantyLine:
        return u"It comes without any warranty.";
    case Str::DemoTitleSuffix:
        return u" \u2013 DEMO (simulated instrument)";
    case Str::PortNotOpen:
        return u"The communications port is not open.\r\n"
               u"Choose Settings, Communications Port and press OK.";
    case Str::PortNotAssigned:
        return u"No device is assigned to port %1.";
    case Str::PortNotPlugged:
        return u"The device of port %1 is not plugged in: %2";
    case Str::PortNoDevice:
        return u"There is no device %1.\r\n"
               u"Settings, Communications Port lists the devices that are plugged in.";
    case Str::PortNoPermission:
        return u"You have no permission to use %1.";
    case Str::PortNoPermissionGroup:
        return u"You have no permission to use %1. It belongs to the group \"%2\"; ask your "
               u"administrator to add you to that group, then log in again.";
    case Str::PortBusy:
        return u"Another program is using %1.";
    case Str::PortLost:
        return u"The connection to the instrument was lost.\r\n"
               u"Plug it in, then choose Settings, Communications Port and press OK.";
    case Str::PortPanelOpen:
        return u"Port %1: %2";
    case Str::PortPanelClosed:
        return u"Port %1: closed";
    case Str::PortPanelLost:
        return u"Port %1: connection lost";
    case Str::PortPanelSimulated:
        return u"simulated instrument";
    case Str::PortDeviceLabel:
        return u"Device of this port";
    case Str::PortDeviceHint:
        return u"Choose a device or type its path, for example /dev/ttyS0";
    case Str::PortDeviceUnassigned:
        return u"No device is assigned to this port.";
    case Str::PortDeviceAbsent:
        return u"This device is not plugged in.";
    case Str::PortDeviceSerial:
        return u"serial number %1";
    case Str::PortDeviceFixed:
        return u"Set for this run by the command line.";
    case Str::PortDeviceSimulated:
        return u"The simulated instrument of this demo.";
    case Str::WaitingForLink:
        return u"Waiting for the link...";
    case Str::MemoryReceived:
        return u"%1 stored readings received.";
    case Str::MemoryUnreadable:
        return u"%2 of %1 stored readings unreadable (noise on the line?).";
    case Str::MemoryEnded:
        return u"The download ended early: %1 of 50 stored readings received.";
    case Str::LabelKind:
        return u"Data";
    case Str::LabelInterval:
        return u"Interval";
    case Str::LabelPeriod:
        return u"Period";
    case Str::LabelXAxis:
        return u"X axis";
    case Str::EmptyWorkspace:
        return u"Real-time data receive, New and then Start log what the instrument measures.\n"
               u"Data receive, MEMORY-mode fetches the readings that the instrument has stored.\n"
               u"File, Open shows readings that were saved.";
    case Str::UnusableCommandLine:
        return u"Try --help for the options.";
    case Str::TableFull:
        return u"The table is full.";
    case Str::FileNotThere:
        return u"This file does not exist.";
    case Str::FolderNotThere:
        return u"This folder does not exist.";
    case Str::FileReplace:
        return u"This file already exists. Do you want to replace it?";
    case Str::FileNotRegular:
        return u"This is not a file.";
    case Str::FileIsWorkFile:
        return u"This name is the program's own work file.";
    case Str::DownloadFailed:
        return u"The download failed.";
    case Str::NotPrinted:
        return u"The file was written, but the result could not be printed.";
    case Str::FileUnreadable:
        return u"Written, but with %1 unreadable of %2 readings (noise on the line?).";
    case Str::FileEndsEarly:
        return u"The file ends before its line %1.";
    case Str::FileLineTooLong:
        return u"Line %1 of the file is too long.";
    case Str::FileNoNumber:
        return u"Line %1 of the file: \"%2\" is not a whole number from -32768 to 32767.";
    case Str::FileNoBoolean:
        return u"Line %1 of the file: \"%2\" is neither True nor False.";
    case Str::GraphCopy:
        return u"&Copy Graph";
    case Str::GraphSaveAs:
        return u"Save Graph &As...";
    case Str::GraphFilePng:
        return u"PNG Pictures";
    case Str::GraphFileSvg:
        return u"SVG Drawings";
    case Str::GraphFilePdf:
        return u"PDF Documents";
    case Str::SaveIn:
        return u"Save in:";
    case Str::FileSaved:
        return u"%1 saved.";
    case Str::FileOpened:
        return u"%1: %2 readings.";
    case Str::OtherCopyRuns:
        return u"Another copy of the program is running.";
    case Str::TitleSaveAs:
        return u"Save As";
    case Str::GraphName:
        return u"Graph";
    case Str::GraphFileKinds:
        return u"The name of a graph's file ends in .png, .svg or .pdf.";
    case Str::GraphNoPicture:
        return u"The picture of the graph could not be made.";
    case Str::ForwardError:
        return u"Forward error occurred.";
    case Str::RunStatus:
        return u"%1: %2 elapsed, %3, %4.";
    case Str::RunRetries:
        return u"Connection lost; retrying.";
    case Str::RunNoPort:
        return u"Port not open; retrying.";
    case Str::RunNoAnswer:
        return u"No answer; asking again.";
    case Str::RunStopping:
        return u"Stopping...";
    case Str::RunEnded:
        return u"%1 has ended: %2 elapsed, %3, %4.";
    case Str::RunHoldsWindows:
        return u"Real-time receive is running. Stop it first.";
    case Str::NeedsRealtime:
        return u"This needs a real-time data window: choose Real-time data receive, New.";
    case Str::IntervalFixed:
        return u"The interval stays as it is once there are readings.";
    case Str::MeasureOff:
        return u"OFF";
    case Str::NoErrorRows:
        return u"no error rows";
    case Str::OneErrorRow:
        return u"1 error row";
    case Str::ErrorRows:
        return u"%1 error rows";
    case Str::OneRow:
        return u"1 row";
    case Str::Rows:
        return u"%1 rows";
    case Str::SourceTitle:
        return u"SOURCE";
    case Str::SourceThermoFrame:
        return u"Temp-measurement";
    case Str::SourceTc:
        return u"TC:";
    case Str::SourceRtd:
        return u"RTD:";
    case Str::SourceTemp:
        return u"TEMP:";
    case Str::SourcePulseFrame:
        return u"Freq-measurement";
    case Str::SourceFrequency:
        return u"FREQ.:";
    case Str::SourcePulse:
        return u"PULSE:";
    case Str::SourceRatio:
        return u"n/m";
    case Str::SourceRatioN:
        return u"n:";
    case Str::SourceRatioM:
        return u"m:";
    case Str::SourceStepUp:
        return u"Digit %1 up";
    case Str::SourceStepDown:
        return u"Digit %1 down";
    case Str::TipSourceValue:
        return u"Type the source value";
    case Str::TipSourceRatio:
        return u"n/m ON/OFF";
    case Str::CommandRefused:
        return u"The PX40 has refused \"%1\": out of range or not possible.";
    case Str::CommandNoAnswer:
        return u"The PX40 has not answered \"%1\".";
    case Str::SourceWaits:
        return u"\"%1\" waits for the PX40.";
    case Str::SourceReplaced:
        return u"\"%1\" was not sent: \"%2\" has taken its place.";
    case Str::SourceUnknownCharacter:
        return u"The PX40 does not know the character \"%1\".";
    case Str::ForwardOpenAfter:
        return u"Open the worksheet &afterwards";
    case Str::ExcelWorkbooks:
        return u"Excel Workbooks";
    case Str::ForwardWriting:
        return u"Writing the workbook...";
    case Str::ForwardDone:
        return u"%1 forwarded to %2.";
    case Str::ForwardDoneIn:
        return u"%1 forwarded to %2 in %3.";
    case Str::MicrosoftExcel:
        return u"Microsoft Excel";
    case Str::ForwardTooMany:
        return u"A worksheet has room for 1,048,572 readings, and this data set has %1.";
    case Str::ForwardSheetFull:
        return u"The worksheet is full.";
    case Str::ForwardNewKind:
        return u"The name of a new workbook ends in .xlsx.";
    case Str::ForwardNotOpened:
        return u"No program of this desktop opens the worksheet.";
    case Str::BookInUse:
        return u"%1 has this workbook open. Close it there and press Retry, or take a new workbook.";
    case Str::Retry:
        return u"Retry";
    case Str::NewWorkbook:
        return u"New workbook";
    case Str::BookLegacy:
        return u"This is a workbook of the older kind (.xls). Save it as an Excel workbook (.xlsx) and "
               u"choose that one.";
    case Str::BookEncrypted:
        return u"This workbook is protected with a password. Remove the password, or choose another one.";
    case Str::BookSigned:
        return u"This workbook is digitally signed, and a new sheet would break the signature. Choose a copy "
               u"without it.";
    case Str::BookProtected:
        return u"The structure of this workbook is protected, so it takes no new sheet. Unprotect it, or "
               u"choose another one.";
    case Str::BookBinary:
        return u"This is a binary workbook (.xlsb). Save it as an Excel workbook (.xlsx) and choose that "
               u"one.";
    case Str::BookOpenDocument:
        return u"This is an OpenDocument file. Save it as an Excel workbook (.xlsx) and choose that one.";
    case Str::BookNone:
        return u"This file is no Excel workbook. Choose an .xlsx or .xlsm file.";
    case Str::BookDamaged:
        return u"This workbook is damaged (%1). Choose another one, or let a spreadsheet program repair it.";
    case Str::BookNotRead:
        return u"This workbook cannot be read: %1";
    case Str::BookNotWritten:
        return u"Nothing was saved, the old file is whole: %1";
    case Str::BookEndMissing:
        return u"its directory cannot be found";
    case Str::BookTooLarge:
        return u"A part of this workbook is too large to be changed here. Choose another one.";
    case Str::BookReadOnly:
        return u"This workbook is read-only. Take the write protection away, or choose another one.";
    case Str::BookFolderReadOnly:
        return u"You may not write in the folder of this workbook. Copy it to another folder and choose the "
               u"copy.";
    case Str::BookKeepsChanging:
        return u"Another program keeps changing this workbook. Try again once it has finished.";
    case Str::BookFolderClosed:
        return u"Nothing can be written into this folder. Choose another one.";
    case Str::BookTaken:
        return u"There is another file under this name by now. Take a new workbook.";
    case Str::BookHolderOn:
        return u"%1 on %2";
    case Str::BookOtherProgram:
        return u"Another program";
    case Str::SheetNoRoom:
        return u"Nothing was saved. There is no room for the rows of the worksheet, neither in the folder "
               u"for temporary files nor beside the workbook: %1";
    case Str::ExportFailed:
        return u"The worksheet could not be written.";
    case Str::ExportInUse:
        return u"%1 has this workbook open. Close it there first.";
    case Str::FieldAllows:
        return u"%1, %2: %3.";
    case Str::WholeNumberAllowed:
        return u"a whole number from %1 to %2";
    case Str::NumberAllowed:
        return u"a number from %1 to %2";
    case Str::BelowMaximum:
        return u"less than the maximum, %1";
    case Str::SecondAtLeast:
        return u"At least 1 second.";
    case Str::NoReadingSince:
        return u"No reading since %1.";
    case Str::RunStopped:
        return u"%1 was stopped: %2 elapsed, %3, %4.";
    case Str::FileRecent:
        return u"Open &Recent";
    case Str::FileRecentClear:
        return u"&Clear the List";
    case Str::NothingSaved:
        return u"Nothing was saved.";
    case Str::NothingSavedOld:
        return u"Nothing was saved; the file that was there is whole.";
    case Str::WorkFileElsewhere:
        return u"%1 cannot be written (%2); the folder for temporary files is used instead.";
    case Str::WorkFileNowhere:
        return u"%1 cannot be written (%2), nor can the folder for temporary files; it goes without.";
    case Str::SaveModeReceived:
        return u"%1 SAVE-mode records received; they are no readings.";
    case Str::SaveModeNone:
        return u"The instrument holds no SAVE-mode records.";
    case Str::SaveModeEnded:
        return u"The download ended early: %1 SAVE-mode records received.";
    case Str::StandardOutput:
        return u"Standard output";
    case Str::WorkbookOnTerminal:
        return u"A workbook is nothing for a terminal: send the standard output to a file or a program.";
    case Str::ForwardFileAllowed:
        return u"%1, %2: the path of an existing .xlsx or .xlsm workbook that can be changed.";
    case Str::ForwardFileAllowedByExcel:
        return u"%1, %2: the path of an existing workbook.";
    case Str::BookNotMade:
        return u"Nothing was saved: %1";
    case Str::BookDirectoryDamaged:
        return u"its directory is damaged";
    case Str::BookPartTwice:
        return u"%1 is there twice";
    case Str::BookPartBroken:
        return u"the contents of %1 are damaged";
    case Str::SelectionRows:
        return u"Rows %1, readings %2";
    case Str::StatisticDeviation:
        return u"SD";
    case Str::SelectionTip:
        return u"Of the readings (DATA) in the selected rows. SD is the standard deviation of a sample "
               u"(n - 1).";
    case Str::GraphZoomIn:
        return u"Zoom &In";
    case Str::GraphZoomOut:
        return u"Zoom &Out";
    case Str::GraphZoomBack:
        return u"Zoom &Back";
    }
    return u"";
}

} // namespace

QString Text(Str id)
{
    return QString::fromUtf16(Lookup(id));
}

QString FirstLine(const QString &text)
{
    return text.section(QStringLiteral("\r\n"), 0, 0);
}

} // namespace px40
