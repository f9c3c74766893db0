// Makes gcm_messages.inc and device_random.inc with the Java platform's own cipher and generator, which share no code
// with what they test:  java MakeVectors.java  in this folder.
import java.io.PrintWriter;
import java.util.HexFormat;
import java.util.Random;
import javax.crypto.Cipher;
import javax.crypto.spec.GCMParameterSpec;
import javax.crypto.spec.SecretKeySpec;

public class MakeVectors {
    static String made() {
        return "java " + System.getProperty("java.version") + " MakeVectors.java";
    }

    static void messages(PrintWriter out) throws Exception {
        out.println("// Key, plaintext, sealed message (vector, ciphertext, tag), all drawn from seed 18. Made by: " + made());
        Random random = new Random(18);
        int[] further = {34, 47, 48, 63, 64, 65, 127, 128, 129, 167, 168, 169, 199, 200, 201, 513, 1000};
        for (int i = 0; i < 34 + further.length; ++i) {
            byte[] key = new byte[32], vector = new byte[16], plain = new byte[i < 34 ? i : further[i - 34]];
            random.nextBytes(key);
            random.nextBytes(vector);
            random.nextBytes(plain);
            Cipher cipher = Cipher.getInstance("AES/GCM/NoPadding", "SunJCE");
            cipher.init(Cipher.ENCRYPT_MODE, new SecretKeySpec(key, "AES"), new GCMParameterSpec(128, vector));
            HexFormat hex = HexFormat.of();
            out.printf("{\"%s\", \"%s\",\n \"%s%s\"},\n", hex.formatHex(key), hex.formatHex(plain),
                       hex.formatHex(vector), hex.formatHex(cipher.doFinal(plain)));
        }
    }

    static void draws(PrintWriter out) {
        out.println("// Seed, and what java.util.Random draws from it: 100 times nextInt(), its 32 top bits. Made by: " + made());
        Random seeds = new Random(18);
        long[] chosen = {0, 1, -1, 42, -42, 0x5DEECE66DL, (1L << 48) - 1, 1L << 48, -(1L << 48), Integer.MIN_VALUE,
                         Integer.MAX_VALUE, Long.MIN_VALUE, Long.MAX_VALUE};
        for (int i = 0; i < 100; ++i) {
            long seed = i < chosen.length ? chosen[i] : seeds.nextLong();
            Random bits = new Random(seed), floats = new Random(seed);
            StringBuilder text = new StringBuilder();
            for (int draw = 0; draw < 100; ++draw) {
                int value = bits.nextInt();
                text.append(String.format("%08x", value));
                // What lets the test derive the other numbers from these: each draw has the same top bits.
                if (floats.nextFloat() != (value >>> 8) * 0x1p-24f) throw new AssertionError(seed);
            }
            out.printf("{0x%016xULL, \"%s\"},\n", seed, text);
        }
    }

    public static void main(String[] arguments) throws Exception {
        try (PrintWriter out = new PrintWriter("gcm_messages.inc")) { messages(out); }
        try (PrintWriter out = new PrintWriter("device_random.inc")) { draws(out); }
    }
}
