#pragma once

/// Keeps what libtiff has to say on this thread, for as long as it lives, from standard error, where it would
/// print every oddity of a file. Its handlers belong to the process: those that were there before the first
/// use still get all that is said elsewhere, and a host may set others at any time, which then get all.
class TIFFSilence
{
public:
    TIFFSilence();
    ~TIFFSilence();
    TIFFSilence(const TIFFSilence &) = delete;
    TIFFSilence &operator=(const TIFFSilence &) = delete;
};
