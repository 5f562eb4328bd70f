#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "channel/secure_channel.h"
#include "channel_peer.h"
#include "input.h"

/// A server's whole byte stream, as an input asks for it, and the channel that takes it.
///
/// The first byte says whether the script greets (1) and opens (2) itself instead of being spared that, the
/// second how many bytes more than six arrive at a time at the most (0: all), the third where the server's
/// sequence numbers begin. Records follow: a byte that says which, and what it takes (channel_script.cpp, in
/// the order of its table).
///
/// As long as everything is as it should be the channel has to give out exactly what was sent. Once something
/// is wrong it has to end, or at least to give out nothing more.
class ChannelScript {
public:
    ChannelScript(const ChannelSides& sides, Input input);

    void run();

private:
    using Record = void (ChannelScript::*)();
    static const Record serverRecords[];
    static const Record clientRecords[];

    /// What is known of the channel.
    enum class Outlook {
        Certain, ///< it gives out what was sent
        Ended,   ///< it gives out no more, and says that it is of no use
        Silent,  ///< it gives out no more
        Unknown
    };
    struct Message {
        std::uint32_t requestId = 0;
        bool isBrokenOff = false;
        Bytes body;

        friend bool operator==(const Message& a, const Message& b) {
            return a.requestId == b.requestId && a.isBrokenOff == b.isBrokenOff && a.body == b.body;
        }
    };

    struct Token : ChannelPeer::Token {
        bool isShortLived = false;
    };

    bool step();
    void answerOpening();
    void openChannel();
    void readArrived();
    void readMessages();
    void compare();

    void sendRaw();
    void sendMessage();
    void sendBareMessage();
    void sendMisplacedMessage();
    void sendOpen();
    void sendOpenAnswer(std::uint32_t tokenId, unsigned int faults);
    void sendOpenBody();
    void sendBareOpen();
    void sendOpenFrom();
    void damageNext();
    void renew();
    void request();

    void send(Bytes chunk);
    ChannelPeer::Place nextPlace(std::uint32_t requestId);
    bool mayOpen();
    void expectMessage(char position, std::uint32_t requestId, UaByteView content);
    void expectOpen(Token token, bool isGood);
    void expect(Outlook outlook);
    void checkSent() const;

    const ChannelPeer m_peer;
    Input m_input;
    UaClientSdk::SecureChannel m_channel;
    const unsigned int m_flags;

    // The server's side.
    std::uint32_t m_sequenceNumber;
    std::uint32_t m_channelId = 7;
    std::deque<Token> m_tokens; ///< the newest first
    std::size_t m_fed = 0;
    unsigned int m_opens = 0;
    std::size_t m_damagedByte = 0;
    OpcUa_Byte m_damage = 0;

    // The client's side.
    bool m_isGreeted = false;
    bool m_isOpen = false;
    bool m_hasFailed = false;
    std::uint32_t m_requestId = 1;
    std::uint32_t m_awaitedOpen = 1; ///< 0: none
    unsigned int m_unaskedOpens = 0;
    std::size_t m_memory = 0;

    Outlook m_outlook = Outlook::Certain;
    Message m_pieces;
    std::size_t m_pieceCount = 0;
    std::vector<Message> m_expected;
    std::vector<Message> m_received;
};
