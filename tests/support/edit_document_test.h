#pragma once

#include "edit/mix.h"
#include "view/child_frame.h"
#include "view/mouse_selection.h"

#include "support/document_test.h"

#include <initializer_list>
#include <memory>
#include <vector>

// Documents to edit: those a test opens stay open until it ends, with the
// bytes of the last one made kept for reference; and the byte helpers that
// say what an edit should leave.
class EditDocumentTest : public DocumentTest {
protected:
    using Bytes = WavBuilder::Bytes;

    void TearDown() override
    {
        mix_settings = MixSettings{};
        docs.clear();
        DocumentTest::TearDown();
    }
    static void select(CChildFrame& f, std::uint32_t start, std::uint32_t end)
    {
        f.bHighlight = 1;
        set_selection_units(f, start, end);
    }
    // Bytes [from, to) of `b`, clipped to its end.
    static Bytes slice(const Bytes& b, std::size_t from, std::size_t to)
    {
        return Bytes(b.begin() + static_cast<long>(std::min(from, b.size())),
                     b.begin() + static_cast<long>(std::min(to, b.size())));
    }
    static Bytes join(std::initializer_list<Bytes> parts)
    {
        Bytes out;
        for (const Bytes& p : parts)
            out.insert(out.end(), p.begin(), p.end());
        return out;
    }

    Bytes data;
    std::vector<std::unique_ptr<CChildFrame>> docs;
};
