/** Prints where it runs: sysconfctl exec -- java Where.java */
public class Where {
    static String answer(String query) {
        return System.getenv().getOrDefault("SYSCONF_" + query, "none");
    }

    public static void main(String[] arguments) {
        System.out.println("tenancy " + answer("PRODUCT_NAME")
                + ", service address " + answer("LOCAL_SERVICE_IP"));
    }
}
