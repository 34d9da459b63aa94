#include <CoreKit/CatchLadder.h>

#include <xercesc/util/OutOfMemoryException.hpp>

bool CatchLadderDetail::IsParserOutOfMemory()
{
    try
    {
        throw;
    }
    catch (const XERCES_CPP_NAMESPACE::OutOfMemoryException&)
    {
        return true;
    }
    catch (...)
    {
        return false;
    }
}
