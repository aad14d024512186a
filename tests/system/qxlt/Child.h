// A child process whose output is read while it runs.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

class Child final {
public:
    struct Setup {
        std::vector<std::string> command;  // the program's path and its arguments
        std::map<std::string, std::string> environment = {};
        std::string directory = "";  // where it runs; empty: here
        std::string output = "";     // where standard output goes; empty: it is read here
        bool impatient = false;      // writes to the output's pipe, which holds one page, do not wait
        bool terminal = false;       // standard output and error are one terminal, read as output
        unsigned short columns = 0;  // the terminal's width; 0: it tells none
        bool keyboard = false;       // standard input is that terminal, too
    };

    // Starts the child, which goes by its program's name from here on. Throws std::runtime_error.
    explicit Child(const Setup& setup);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    // Kills it, if it still runs.
    ~Child();

    // Reads until the text has come on standard output, or on standard error. False when the child ends, or a minute
    // passes, before.
    bool WaitForOutput(const std::string& text);
    bool WaitForError(const std::string& text);

    void Signal(int number);

    // What a user of the terminal does: types, and gives it another size. Requires: the output is one.
    void Type(const std::string& keys) const;
    void Resize(unsigned short columns, unsigned short lines) const;

    // Whether the terminal shows what is typed, and hands it on line by line. Requires: as above.
    bool IsTerminalPlain() const;

    // From now on nobody reads the standard output.
    void CloseOutput();

    // Reads to the end and waits. Returns the exit status, 128 and the number for a signal. A child that does not end
    // within a minute is killed.
    int Finish();

    const std::string& Output() const { return m_output.text; }
    const std::string& Error() const { return m_error.text; }
    // Of the whole life, in KiB. Requires: Finish.
    long LargestSize() const { return m_largestSize; }
    pid_t Pid() const { return m_pid; }

private:
    struct Stream {
        int fd = -1;
        std::string text;
        bool Read();
        void Close();
    };

    bool WaitFor(const Stream& stream, const std::string& text);
    bool Pump();

    const bool m_printsJson;  // it is the tool, and its lines are held against their schema
    Stream m_output;
    Stream m_error;
    pid_t m_pid = -1;
    bool m_ended = false;
    int m_status = 0;
    long m_largestSize = 0;
};

// What a whole run of the tool gave.
struct ToolResult {
    int status;
    std::string output;
    std::string error;
    long largestSize;
};

// Runs the tool to its end.
ToolResult RunTool(const std::vector<std::string>& arguments, Child::Setup setup = {});

// The setup that runs the tool with these arguments.
Child::Setup ToolSetup(const std::vector<std::string>& arguments, Child::Setup setup = {});

// The lines of a text, without the line ends.
std::vector<std::string> Lines(const std::string& text);
