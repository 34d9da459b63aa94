#pragma once

/// What goes on around a dialog while it waits for the operator. Not owned by the dialog.
class CDialogWatch
{
public:
    virtual ~CDialogWatch() = default;

    /// Whether the dialog has to end without an answer.
    virtual bool IsOver() = 0;
    /// Becomes readable when there is something to serve; -1 when there never is.
    virtual int Descriptor() const { return -1; }
    /// At least once a second.
    virtual void Serve() {}
};
